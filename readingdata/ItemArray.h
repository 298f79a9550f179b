#pragma once

#include <cstdint>

#include "IBookPathTableProxy.h"
#include "base/OwnedArray.h"

namespace QvFormat {

// Items with a string each, which are released together until they are handed out.
template<typename Item>
class ItemArray {
public:
    explicit ItemArray(std::size_t capacity)
        : m_nCapacity(capacity), m_pItems(NewArray<Item>(capacity)) {}
    ~ItemArray() {
        for (std::uint32_t i = 0; m_pItems && i < m_nCount; ++i)
            // NOLINTNEXTLINE(clang-analyzer-cplusplus.NewDelete): an empty array holds no item
            delete[] TextOf(m_pItems[i]);
    }

    // False without memory: nothing may be added then.
    bool IsValid() const { return m_pItems != nullptr; }

    // Adds an item with a copy of its string; false without memory.
    bool Add(Item item, const char* text, std::size_t length) {
        TextOf(item) = CopyString(text, length).release();
        if (!TextOf(item))
            return false;
        m_pItems[m_nCount++] = item;
        return true;
    }

    // Hands out the array, null for a capacity of 0, and the number of items unless `count` is
    // null.
    Item* Release(unsigned int* count) {
        if (count)
            *count = m_nCount;
        return m_nCapacity ? m_pItems.release() : nullptr;
    }

private:
    static char*& TextOf(char*& tag) { return tag; }
    static char*& TextOf(QvpPathItem& item) { return item.pszPath; }

    std::size_t m_nCapacity;
    OwnedArray<Item> m_pItems;
    std::uint32_t m_nCount = 0;
};

} // namespace QvFormat
