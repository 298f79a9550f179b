// What the lists kept in records have in common: every record begins with the number of its
// entries, records are reused in place, missing ones are created and surplus ones freed.
#pragma once

#include <algorithm>
#include <cstdint>

#include "base/LittleEndian.h"
#include "readingdata/CQvpFile.h"
#include "readingdata/QvpFormat.h"
#include "readingdata/Qvp_Node.h"

namespace QvFormat {

// What an operation of a proxy refuses before it looks at the file.
inline QVRESULT CheckProxy(const CQvpFile* file, bool bArguments) {
    if (!file)
        return QV_E_NOTREADY;
    return bArguments ? QV_S_OK : QV_E_INVALIDARG;
}

// The same for an operation that hands something out; `*out` is null then.
template<typename T>
QVRESULT CheckProxy(const CQvpFile* file, T** out) {
    if (file && out)
        *out = nullptr;
    return CheckProxy(file, out != nullptr);
}

template<typename Item, typename Test>
bool AreStorable(const Item* items, std::uint32_t count, Test isStorable) {
    return count == 0 || (items && std::all_of(items, items + count, isStorable));
}

// Asks for a list before it is written. False when it could not be read for lack of memory: new
// records would hide those in the file.
inline bool AttachForWriting(CQvpFile* file, QvpNodeType type, unsigned int fileId,
                             Qvp_Node** head) {
    if (*head)
        return true;
    const QVRESULT result = file->AttachNodeList(type, fileId, head);
    return result != QV_E_OUTOFMEMORY && result != QV_E_FAIL;
}

// The entries that fit into a record of `length` bytes.
constexpr std::uint32_t RecordCapacity(std::uint32_t length, std::uint32_t entrySize) {
    return length < QvpFormat::kCountSize ? 0 : (length - QvpFormat::kCountSize) / entrySize;
}

// Moves items into the records of a list, in order. store(item, bytes, room) puts an item at
// `bytes` and returns the bytes it took; 0 when it does not fit into `room` bytes.
template<typename Items, typename Store>
struct RecordFiller {
    QvpNodeType eType;
    Items items;
    std::uint32_t nCount;
    Store store;
    std::uint32_t nNext = 0;

    bool Done() const { return nNext == nCount; }

    // Puts as many items as fit into a record that has room for a count; false for none.
    bool Fill(Qvp_Node* node) {
        const std::uint32_t first = nNext;
        std::uint32_t position = QvpFormat::kCountSize;
        for (; !Done(); ++nNext) {
            const std::uint32_t size =
                store(items[nNext], node->pData + position, node->nLength - position);
            if (size == 0)
                break;
            position += size;
        }
        StoreLE32(node->pData, nNext - first);
        node->nType = eType;
        node->bModified = 1;
        return nNext != first;
    }
};

// Puts what remains into new records from create(item), which are handed to the container as one
// chain: one by one, each would be looked up from the head of the list.
template<typename Filler, typename Create>
QVRESULT AppendRecords(CQvpFile* file, Filler* filler, Create create) {
    Qvp_Node* chain = nullptr;
    for (Qvp_Node** tail = &chain; !filler->Done(); tail = &(*tail)->pNext) {
        *tail = create(filler->items[filler->nNext]);
        if (!*tail || !filler->Fill(*tail))
            break;
    }
    if (!chain || file->AppendNodeList(chain) == QV_S_OK)
        return filler->Done() ? QV_S_OK : QV_E_FAIL;
    CQvpFile::FreeDataList(chain);
    return QV_E_FAIL;
}

// Replaces a list: its records take the items in order; surplus ones are freed, missing ones made.
// QV_E_FAIL: the list could not be read, and nothing changes; or a record could not be made, and
// the items before it are in place.
template<typename Items, typename Store, typename Create>
QVRESULT ReplaceRecords(CQvpFile* file, QvpNodeType type, unsigned int fileId, Qvp_Node** head,
                        Items items, std::uint32_t count, Store store, Create create) {
    if (!AttachForWriting(file, type, fileId, head))
        return QV_E_FAIL;
    RecordFiller<Items, Store> filler{type, items, count, store};
    for (Qvp_Node* node = *head; node; node = node->pNext) {
        if (filler.Done()) {
            node->nType = QvpNodeFree;
            node->bModified = 1;
        } else if (node->nLength >= QvpFormat::kCountSize) {
            filler.Fill(node);
        }
    }
    return AppendRecords(file, &filler, create);
}

// Calls visit(node) for the records in use that have room for a count, until one answers false;
// whether none did.
template<typename Visit>
bool ForEachInUse(Qvp_Node* head, QvpNodeType type, Visit visit) {
    for (Qvp_Node* node = head; node; node = node->pNext) {
        if (node->nType == type && node->nLength >= QvpFormat::kCountSize && !visit(node))
            return false;
    }
    return true;
}

// The entries of at least `size` bytes that the records hold. A count that says more is lowered in
// its record.
inline std::uint32_t CountEntries(Qvp_Node* head, QvpNodeType type, std::uint32_t size) {
    std::uint32_t total = 0;
    ForEachInUse(head, type, [&](const Qvp_Node* node) {
        const std::uint32_t capacity = RecordCapacity(node->nLength, size);
        const std::uint32_t count = std::min(LoadLE32(node->pData), capacity);
        StoreLE32(node->pData, count);
        total += count;
        return true;
    });
    return total;
}

// Calls visit(&entry, end) for as many entries as the records in use say, until one answers false;
// whether none did. It reads the entry before `end` and moves the pointer past it.
template<typename Visit>
bool ForEachEntry(Qvp_Node* head, QvpNodeType type, Visit visit) {
    return ForEachInUse(head, type, [&visit](const Qvp_Node* node) {
        const unsigned char* entry = node->pData + QvpFormat::kCountSize;
        std::uint32_t left = LoadLE32(node->pData);
        while (left != 0 && visit(&entry, node->pData + node->nLength))
            --left;
        return left == 0;
    });
}

} // namespace QvFormat
