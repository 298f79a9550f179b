#include "layout/PangoLineInfo.h"

#include <cstdlib>

namespace {

// Upwards, so that lines counted to fit a page still fit when Pango draws them at their exact,
// fractional height.
std::int32_t PixelHeight(PangoLayoutLine* line) {
    PangoRectangle logical;
    pango_layout_line_get_extents(line, nullptr, &logical);
    return PANGO_PIXELS_CEIL(logical.height);
}

void FreeList(PangoLineInfoNode* node) {
    while (node) {
        PangoLineInfoNode* next = node->next;
        std::free(node);
        node = next;
    }
}

} // namespace

PangoLineInfoNode* pango_layout_get_line_info_list(PangoLayout* layout) {
    PangoLineInfoNode* head = nullptr;
    PangoLineInfoNode** tail = &head;
    for (GSList* item = pango_layout_get_lines_readonly(layout); item; item = item->next) {
        auto* line = static_cast<PangoLayoutLine*>(item->data);
        *tail = static_cast<PangoLineInfoNode*>(std::malloc(sizeof(PangoLineInfoNode)));
        if (!*tail) {
            FreeList(head);
            return nullptr;
        }
        **tail = {line->start_index, PixelHeight(line), nullptr};
        tail = &(*tail)->next;
    }
    return head;
}

void pango_layout_set_disable_cache(PangoLayout*, gboolean) {}
