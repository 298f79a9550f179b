// What the lists kept in records have in common: every record begins with the number of its
// entries, records are reused in place, missing ones are created and surplus ones freed.
#pragma once

#include <cstdint>

#include "base/LittleEndian.h"
#include "readingdata/CQvpFile.h"
#include "readingdata/QvpFormat.h"
#include "readingdata/Qvp_Node.h"

namespace QvFormat {

// The first record from `node` on that is not freed and has room for a count.
inline Qvp_Node* FirstInUse(Qvp_Node* node, QvpNodeType type) {
    while (node && (node->nType != type || node->nLength < QvpFormat::CountSize))
        node = node->pNext;
    return node;
}

// The record's count, lowered in the record when it holds fewer entries than it says.
inline std::uint32_t BoundedCount(Qvp_Node* node, std::uint32_t capacity) {
    const std::uint32_t count = LoadLE32(node->pData);
    if (count <= capacity)
        return count;
    StoreLE32(node->pData, capacity);
    return capacity;
}

// The entries that fit into a record of `length` bytes.
constexpr std::uint32_t RecordCapacity(std::uint32_t length, std::uint32_t entrySize) {
    return length < QvpFormat::CountSize ? 0 : (length - QvpFormat::CountSize) / entrySize;
}

inline void FreeRecords(Qvp_Node* node) {
    for (; node; node = node->pNext) {
        node->nType = QvpNodeFree;
        node->bModified = 1;
    }
}

// Moves entries into one record. Entries has two operations: Done(), whether none remain, and
// Fill(data, length), which puts as many as fit behind the count and returns their number.
template<typename Entries>
std::uint32_t FillRecord(Qvp_Node* node, QvpNodeType type, Entries* entries) {
    const std::uint32_t count = entries->Fill(node->pData, node->nLength);
    StoreLE32(node->pData, count);
    node->nType = type;
    node->bModified = 1;
    return count;
}

// Puts what remains into new records from `create`, which are handed to the container as one chain:
// one by one, each would be looked up from the head of the list.
template<typename Entries, typename Create>
QVRESULT AppendRecords(CQvpFile* file, QvpNodeType type, Entries* entries, Create create) {
    Qvp_Node* chain = nullptr;
    Qvp_Node** tail = &chain;
    QVRESULT result = QV_S_OK;
    while (result == QV_S_OK && !entries->Done()) {
        *tail = create();
        if (!*tail || FillRecord(*tail, type, entries) == 0)
            result = QV_E_FAIL;
        else
            tail = &(*tail)->pNext;
    }
    if (!chain || file->AppendNodeList(chain) == QV_S_OK)
        return result;
    CQvpFile::FreeDataList(chain);
    return QV_E_FAIL;
}

// Replaces a list: its records take the entries in order; then surplus records are freed, or
// missing ones made. QV_E_FAIL: a record could not be made; the entries before it are in place.
template<typename Entries, typename Create>
QVRESULT ReplaceRecords(CQvpFile* file, QvpNodeType type, Qvp_Node* head, Entries* entries,
                        Create create) {
    Qvp_Node* node = head;
    for (; node && !entries->Done(); node = node->pNext) {
        if (node->nLength >= QvpFormat::CountSize)
            FillRecord(node, type, entries);
    }
    if (!entries->Done())
        return AppendRecords(file, type, entries, create);
    FreeRecords(node);
    return QV_S_OK;
}

} // namespace QvFormat
