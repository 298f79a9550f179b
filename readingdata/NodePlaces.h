#pragma once

#include <algorithm>
#include <cstddef>

#include "base/OwnedArray.h"
#include "readingdata/Qvp_Node.h"

namespace QvFormat {

// Where the records of nodes stand in a file, in that order, and what the nodes said before a
// compaction, for the case that it cannot be done.
class NodePlaces {
public:
    // forEachNode(visit) calls visit(node) for all nodes.
    template<typename ForEachNode>
    explicit NodePlaces(ForEachNode forEachNode) {
        std::size_t count = 0;
        forEachNode([&count](Qvp_Node*) { ++count; });
        m_pPlaces = NewArray<Place>(count);
        if (!m_pPlaces)
            return;
        forEachNode([this](Qvp_Node* node) {
            m_pPlaces[m_nCount++] = {node, node->nOffset, node->bModified};
        });
        std::sort(m_pPlaces.get(), m_pPlaces.get() + m_nCount,
                  [](const Place& one, const Place& other) { return one.offset < other.offset; });
    }

    // False without memory: nothing else may be asked then.
    bool IsValid() const { return m_pPlaces != nullptr; }

    // The node of the record at `offset`, or null. Offsets must be asked for in rising order.
    Qvp_Node* NodeAt(long offset) {
        while (m_nNext < m_nCount && m_pPlaces[m_nNext].offset < offset)
            ++m_nNext;
        return m_nNext < m_nCount && m_pPlaces[m_nNext].offset == offset ? m_pPlaces[m_nNext].node
                                                                         : nullptr;
    }

    void Restore() {
        for (std::size_t i = 0; i < m_nCount; ++i) {
            m_pPlaces[i].node->nOffset = m_pPlaces[i].offset;
            m_pPlaces[i].node->bModified = m_pPlaces[i].modified;
        }
    }

private:
    struct Place {
        Qvp_Node* node;
        long offset;
        int modified;
    };

    OwnedArray<Place> m_pPlaces;
    std::size_t m_nCount = 0;
    std::size_t m_nNext = 0;
};

} // namespace QvFormat
