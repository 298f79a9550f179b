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

PangoLineInfoNode* NewNode(PangoLayoutLine* line) {
    auto* node = static_cast<PangoLineInfoNode*>(std::malloc(sizeof(PangoLineInfoNode)));
    if (node)
        *node = {line->start_index, PixelHeight(line), nullptr};
    return node;
}

} // namespace

PangoLineInfoNode* pango_layout_get_line_info_list(PangoLayout* layout) {
    QvFormat::LineInfoList list;
    PangoLineInfoNode* last = nullptr;
    for (GSList* item = pango_layout_get_lines_readonly(layout); item; item = item->next) {
        PangoLineInfoNode* node = NewNode(static_cast<PangoLayoutLine*>(item->data));
        if (!node)
            return nullptr;
        if (last)
            last->next = node;
        else
            list.reset(node);
        last = node;
    }
    return list.release();
}

void pango_layout_set_disable_cache(PangoLayout*, gboolean) {}

void QvFormat::LineInfoReleaser::operator()(PangoLineInfoNode* node) const {
    while (node) {
        PangoLineInfoNode* next = node->next;
        std::free(node);
        node = next;
    }
}
