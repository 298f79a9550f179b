#pragma once

namespace QvFormat {

// The record types of the reading-data file, one byte there. Part of the file format.
enum QvpNodeType : int {
    QvpNodeFree = 0, // dead space, whatever the record held before
    QvpNodeBookInfo = 1,
    QvpNodePathTable = 2, // one list for the whole file; every other type has one per file id
    QvpNodeIndexList = 3,
    QvpNodeTagList = 4,
    QvpNodePositionAnnotations = 5,
    QvpNodeRangeAnnotations = 6,
    QvpNodeCommentAnnotations = 7,
};

} // namespace QvFormat
