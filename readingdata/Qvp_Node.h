#pragma once

#include <cstddef>
#include <memory>

#include "QvpNodeType.h"

namespace QvFormat {

// One record of the reading-data file in memory. The container owns the nodes of its lists; proxies
// keep pointers to the heads, so a node stays where it is for the container's life.
struct Qvp_Node {
    QvpNodeType nType;    // QvpNodeFree deletes the record at the next flush
    unsigned int nId;     // file id
    long nOffset;         // of the record's type byte in the file; 0: not written yet
    int bModified;        // 1: rewrite the record in place at the next flush
    unsigned int nLength; // data bytes
    unsigned char* pData; // see bBorrowed
    int bBorrowed;   // 1: pData points into the container's image; 0: the node's own, from new[]
    Qvp_Node* pNext; // of the list, or null
};

// The lists of one file id.
struct Qvp_File_Data_Node {
    unsigned int nFileId; // of all records here
    // The first node of each list; null: not loaded, or empty.
    Qvp_Node* pBookInfo;
    Qvp_Node* pIndexList;
    Qvp_Node* pPositionAnnotations;
    Qvp_Node* pRangeAnnotations;
    Qvp_Node* pCommentAnnotations;
    Qvp_Node* pTagList;
    Qvp_File_Data_Node* pNext; // the next file id's, or null
};

static_assert(sizeof(void*) != 4 || sizeof(Qvp_Node) == 32);
static_assert(sizeof(void*) != 4 || sizeof(Qvp_File_Data_Node) == 32);

// Releases one node, with its data unless they are borrowed.
struct QvpNodeDeleter {
    void operator()(Qvp_Node* node) const;
};

using QvpNodePtr = std::unique_ptr<Qvp_Node, QvpNodeDeleter>;

// A new record of `length` zero bytes that no list holds yet; null when memory runs out.
QvpNodePtr NewQvpNode(QvpNodeType type, unsigned int id, unsigned int length);

} // namespace QvFormat
