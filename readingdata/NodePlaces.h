#pragma once

#include <cstddef>
#include <memory>

#include "readingdata/NewArray.h"
#include "readingdata/Qvp_Node.h"

namespace QvFormat {

// What the nodes said about the file before it was replaced, for the case that it is not.
class NodePlaces {
public:
    explicit NodePlaces(std::size_t capacity) : m_pPlaces(NewArray<Place>(capacity)) {}

    bool IsValid() const { return m_pPlaces != nullptr; }

    void Note(Qvp_Node* node) { m_pPlaces[m_nCount++] = {node, node->nOffset, node->bModified}; }

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

    std::unique_ptr<Place[]> m_pPlaces;
    std::size_t m_nCount = 0;
};

} // namespace QvFormat
