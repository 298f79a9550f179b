#include "layout/ReadableLayout.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

namespace QvFormat {

namespace {

// What has to fit in a line beside its indent.
const char kReadable[] = "mmmm";

void LimitIndent(PangoLayout* layout) {
    const int indent = pango_layout_get_indent(layout);
    if (!indent)
        return;
    const int width = pango_layout_get_width(layout);
    int readable = 0;
    pango_layout_set_indent(layout, 0);
    pango_layout_set_width(layout, -1);
    pango_layout_set_text(layout, kReadable, -1);
    pango_layout_get_size(layout, &readable, nullptr);
    const int limit = std::max(width - readable, 0);
    pango_layout_set_width(layout, width);
    pango_layout_set_indent(layout, std::clamp(indent, -limit, limit));
}

void ForbidBreaks(PangoAttrList* list, std::ptrdiff_t begin, std::ptrdiff_t end) {
    PangoAttribute* attribute = pango_attr_allow_breaks_new(FALSE);
    attribute->start_index = static_cast<guint>(begin);
    attribute->end_index = static_cast<guint>(end);
    pango_attr_list_insert(list, attribute);
}

// Unicode lets a line break between a space and a combining mark, which are one cluster. Pango 1.50
// ends the process on such a cluster when it is wider than its line.
void KeepClustersWhole(PangoLayout* layout) {
    const char* text = pango_layout_get_text(layout);
    const int count = pango_layout_get_character_count(layout);
    const std::unique_ptr<PangoLogAttr[]> places(
        new (std::nothrow) PangoLogAttr[static_cast<std::size_t>(count) + 1]);
    if (!places)
        return;
    pango_get_log_attrs(text, static_cast<int>(std::strlen(text)), -1, nullptr, places.get(),
                        count + 1);
    PangoAttrList* list = pango_attr_list_new();
    const char* before = text;
    for (int i = 1; i < count; ++i) {
        const char* after = g_utf8_next_char(before);
        if (places[i].is_line_break && !places[i].is_char_break)
            ForbidBreaks(list, before - text, g_utf8_next_char(after) - text);
        before = after;
    }
    pango_layout_set_attributes(layout, list);
    pango_attr_list_unref(list);
}

} // namespace

GObjectPtr<PangoLayout> NewReadableLayout(PangoLayout* settings, const char* text) {
    GObjectPtr<PangoLayout> layout(pango_layout_copy(settings));
    LimitIndent(layout.get());
    pango_layout_set_text(layout.get(), text, -1);
    if (pango_layout_get_wrap(layout.get()) == PANGO_WRAP_WORD_CHAR)
        KeepClustersWhole(layout.get());
    return layout;
}

} // namespace QvFormat
