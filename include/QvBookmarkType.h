#pragma once

namespace QvFormat {

// What a bookmark is for. There is one purpose so far; it is stored with each annotation, and a
// stored one with any other value is not read.
enum QvBookmarkType : int {
    QvBookmarkDefault = 0,
};

} // namespace QvFormat
