// Plain records shared by all interfaces. Field order and widths are part of the binary interface.
#pragma once

#include <cstddef>
#include <cstdint>

// A rectangle in pixels; left and top are inside it, right and bottom just outside.
struct QV_RECT {
    std::int32_t left;   // first column
    std::int32_t top;    // first row
    std::int32_t right;  // column after the last
    std::int32_t bottom; // row after the last
};

// A point in pixels.
struct QV_POINT {
    std::int32_t x; // columns, to the right
    std::int32_t y; // rows, downwards
};

static_assert(sizeof(QV_RECT) == 16 && offsetof(QV_RECT, bottom) == 12);
static_assert(sizeof(QV_POINT) == 8 && offsetof(QV_POINT, y) == 4);

namespace QvFormat {

// The application's image, one byte a pixel: 0 no ink to 255 full ink. Passed by value; the pixels
// stay the application's. The library never clears the image: drawing adds coverage to what is
// there, saturating at 255.
struct QV_IMAGE {
    std::int32_t reserved; // never read, passed on unchanged
    unsigned char* buffer; // first byte of the top row
    std::int32_t height;   // rows
    std::int32_t width;    // pixels of a row that may be drawn
    std::int32_t stride;   // bytes from one row to the next, at least width
};

static_assert(offsetof(QV_IMAGE, buffer) == sizeof(void*));
static_assert(offsetof(QV_IMAGE, height) == 2 * sizeof(void*));
static_assert(offsetof(QV_IMAGE, stride) == 2 * sizeof(void*) + 8);
static_assert(sizeof(void*) != 4 || sizeof(QV_IMAGE) == 20);

// One laid-out line.
struct QVLayoutLineInfo {
    std::int32_t
        offset; // byte offset of the line's first character in the text given to the layout
    std::int32_t height; // pixels, without the line spacing
};

static_assert(sizeof(QVLayoutLineInfo) == 8 && offsetof(QVLayoutLineInfo, height) == 4);

} // namespace QvFormat
