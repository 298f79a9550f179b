// Two functions that the layout needs of Pango and stock Pango lacks, over stock Pango's own.
#pragma once

#include <cstdint>
#include <memory>

#include <pango/pango.h>

extern "C" {

// One laid-out line. Every node is an allocation of its own, made with malloc.
struct PangoLineInfoNode {
    std::int32_t start_index; // byte index of the line's first character in the layout's text
    std::int32_t height;      // whole pixels, rounded up, without the layout's line spacing
    PangoLineInfoNode* next;  // null at the last line
};

// Lays the text out and returns one node per line, in line order; null when there are no lines or
// no memory. The caller owns the list and releases each node with free.
PangoLineInfoNode* pango_layout_get_line_info_list(PangoLayout* layout);

// Asks Pango to keep or drop what it caches of a layout; no effect with stock Pango.
void pango_layout_set_disable_cache(PangoLayout* layout, gboolean disable);

} // extern "C"

namespace QvFormat {

struct LineInfoReleaser {
    void operator()(PangoLineInfoNode* node) const; // and all after it
};

using LineInfoList = std::unique_ptr<PangoLineInfoNode, LineInfoReleaser>;

} // namespace QvFormat
