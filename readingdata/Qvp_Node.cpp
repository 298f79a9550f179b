#include "readingdata/Qvp_Node.h"

#include <new>

namespace QvFormat {

void QvpNodeDeleter::operator()(Qvp_Node* node) const {
    if (!node->bBorrowed)
        delete[] node->pData;
    delete node;
}

QvpNodePtr NewQvpNode(QvpNodeType type, unsigned int id, unsigned int length) {
    QvpNodePtr node(new (std::nothrow) Qvp_Node{type, id, 0, 1, length, nullptr, 0, nullptr});
    if (node)
        node->pData = new (std::nothrow) unsigned char[length]();
    if (!node || !node->pData)
        return nullptr;
    return node;
}

} // namespace QvFormat
