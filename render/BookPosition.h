#pragma once

namespace QvFormat {

// A place in a book: a block, and a byte of that block's own UTF-8. Blocks are converted one by
// one, so it names the same character whichever segment is loaded.
struct BookPosition {
    int block;
    int offset;
};

} // namespace QvFormat
