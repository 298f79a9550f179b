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
    return length < QvpFormat::kCountSize ? 0 : (length - QvpFormat::kCountSize) / entrySize;
}

inline void FreeRecords(Qvp_Node* node) {
    for (; node; node = node->pNext) {
        node->nType = QvpNodeFree;
        node->bModified = 1;
    }
}

// What remains of a list that is being written. A class derived from it has an operation
// Fill(data, length), which puts as many items as fit after a record's count and returns their
// number.
template<typename Item>
struct Entries {
    const Item* pNext;
    std::uint32_t nLeft;

    bool Done() const { return nLeft == 0; }
};

// Moves entries into one record.
template<typename Remaining>
std::uint32_t FillRecord(Qvp_Node* node, QvpNodeType type, Remaining* entries) {
    const std::uint32_t count = entries->Fill(node->pData, node->nLength);
    StoreLE32(node->pData, count);
    node->nType = type;
    node->bModified = 1;
    return count;
}

// Puts what remains into new records from `create`, which are handed to the container as one chain:
// one by one, each would be looked up from the head of the list.
template<typename Remaining, typename Create>
QVRESULT AppendRecords(CQvpFile* file, QvpNodeType type, Remaining* entries, Create create) {
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
// missing ones made. QV_E_FAIL: the list could not be read, and nothing changes; or a record could
// not be made, and the entries before it are in place.
template<typename Remaining, typename Create>
QVRESULT ReplaceRecords(CQvpFile* file, QvpNodeType type, unsigned int fileId, Qvp_Node** head,
                        Remaining* entries, Create create) {
    if (!AttachForWriting(file, type, fileId, head))
        return QV_E_FAIL;
    Qvp_Node* node = *head;
    for (; node && !entries->Done(); node = node->pNext) {
        if (node->nLength >= QvpFormat::kCountSize)
            FillRecord(node, type, entries);
    }
    if (!entries->Done())
        return AppendRecords(file, type, entries, create);
    FreeRecords(node);
    return QV_S_OK;
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

// The entries of `size` bytes that the records hold.
inline std::uint32_t CountEntries(Qvp_Node* head, QvpNodeType type, std::uint32_t size) {
    std::uint32_t total = 0;
    ForEachInUse(head, type, [&](Qvp_Node* node) {
        total += BoundedCount(node, RecordCapacity(node->nLength, size));
        return true;
    });
    return total;
}

} // namespace QvFormat
