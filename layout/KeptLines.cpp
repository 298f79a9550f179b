#include "layout/KeptLines.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <new>

#include <pango/pangoft2.h>

#include "base/Handles.h"
#include "layout/GreyImage.h"
#include "layout/PangoLineInfo.h"
#include "layout/Paragraphs.h"

namespace QvFormat {

namespace {

// An indent beyond half the width leaves room for four wide letters.
void LimitIndent(PangoLayout* layout) {
    const int indent = pango_layout_get_indent(layout);
    const int width = pango_layout_get_width(layout);
    int readable = 0;
    if (std::abs(indent) <= width / 2)
        return;
    pango_layout_set_width(layout, -1);
    pango_layout_set_text(layout, "mmmm", -1);
    pango_layout_get_size(layout, &readable, nullptr);
    const int limit = std::max(width - readable, 0);
    pango_layout_set_width(layout, width);
    pango_layout_set_indent(layout, std::clamp(indent, -limit, limit));
}

// Whether no cluster holds the character and another one. It may say no of one that does stand
// alone; the ranges are what most texts consist of, U+2010 to U+2029 dashes, quotation marks and
// separators.
bool StandsAlone(gunichar character) {
    return character < 0x300 || (character >= 0x4e00 && character <= 0x9fff) ||
           (character >= 0x2010 && character <= 0x2029) ||
           ((g_unichar_iswide(character) || g_unichar_ispunct(character) ||
             g_unichar_isupper(character) || g_unichar_islower(character)) &&
            !g_unichar_ismark(character) && g_unichar_type(character) != G_UNICODE_MODIFIER_SYMBOL);
}

// Unicode lets a line break inside some clusters, such as a space with a combining mark. Pango 1.50
// ends the process when such a cluster is wider than its line.
void KeepClustersWhole(PangoLayout* layout) {
    const char* text = pango_layout_get_text(layout);
    const char* next = text;
    while (*next && StandsAlone(g_utf8_get_char(next)))
        next = g_utf8_next_char(next);
    if (!*next)
        return;
    const int count = pango_layout_get_character_count(layout);
    const std::unique_ptr<PangoLogAttr[]> places(
        new (std::nothrow) PangoLogAttr[static_cast<std::size_t>(count) + 1]);
    if (!places)
        return;
    pango_get_log_attrs(text, -1, -1, nullptr, places.get(), count + 1);
    PangoAttrList* list = pango_attr_list_new();
    next = text;
    for (int i = 1; i < count; ++i) {
        const char* before = next;
        next = g_utf8_next_char(before);
        if (!places[i].is_line_break || places[i].is_char_break)
            continue;
        PangoAttribute* whole = pango_attr_allow_breaks_new(FALSE);
        whole->start_index = static_cast<guint>(before - text);
        whole->end_index = static_cast<guint>(g_utf8_next_char(next) - text);
        pango_attr_list_insert(list, whole);
    }
    pango_layout_set_attributes(layout, list);
    pango_attr_list_unref(list);
}

// Whether a line separator before the text makes a line of its own. None is needed where the text
// begins with the end of its paragraph.
bool CanSeparate(PangoLayout* settings, const char* text) {
    return *text && !IsParagraphSeparator(g_utf8_get_char(text)) &&
           !pango_layout_get_single_paragraph_mode(settings) &&
           pango_layout_get_ellipsize(settings) == PANGO_ELLIPSIZE_NONE;
}

// Far enough for any image, and small enough to add to.
int Clamped(long long units) {
    return static_cast<int>(std::clamp<long long>(units, INT_MIN / 2, INT_MAX / 2));
}

} // namespace

// Put before a text that goes on with a paragraph, a line separator takes the place of the
// paragraph's first line, so that Pango gives the lines after it no first-line indent.
KeptLines::KeptLines(PangoLayout* settings, bool continues)
    : m_pLayout(pango_layout_copy(settings)) {
    PangoLayout* layout = m_pLayout.get();
    const char* text = pango_layout_get_text(settings);
    const char* separator = continues && CanSeparate(settings, text) ? "\u2028" : "";
    const std::unique_ptr<char, decltype(&g_free)> whole(g_strconcat(separator, text, nullptr),
                                                         g_free);
    LimitIndent(layout);
    if (continues && pango_layout_get_single_paragraph_mode(settings))
        pango_layout_set_indent(layout, 0);
    pango_layout_set_text(layout, whole.get(), -1);
    if (pango_layout_get_wrap(layout) == PANGO_WRAP_WORD_CHAR)
        KeepClustersWhole(layout);
    Keep(static_cast<int>(std::strlen(separator)));
}

// The first `separator` bytes and their line are not of the text.
void KeptLines::Keep(int separator) {
    const int count = pango_layout_get_line_count(m_pLayout.get());
    m_pLines.reset(new (std::nothrow) Line[static_cast<std::size_t>(count)]);
    if (!m_pLines)
        return;
    PangoLineInfoNode* node = pango_layout_get_line_info_list(m_pLayout.get());
    const std::unique_ptr<PangoLayoutIter, decltype(&pango_layout_iter_free)> iter(
        pango_layout_get_iter(m_pLayout.get()), pango_layout_iter_free);
    for (m_nCount = node && separator ? -1 : 0; node; ++m_nCount) {
        const MallocPtr<PangoLineInfoNode> owner(node);
        PangoRectangle logical;
        pango_layout_iter_get_line_extents(iter.get(), nullptr, &logical);
        if (m_nCount >= 0)
            m_pLines[m_nCount] = {pango_layout_iter_get_line_readonly(iter.get()),
                                  {node->start_index - separator, node->height},
                                  logical.x};
        pango_layout_iter_next_line(iter.get());
        node = node->next;
    }
}

// As Pango places the lines of a layout: each at the exact end of the one before and the spacing.
void KeptLines::Draw(int first, int end, const QV_IMAGE& image, int x, int y) const {
    FT_Bitmap bitmap = BitmapOn(image);
    long long top = 1LL * PANGO_SCALE * y;
    for (int i = first; i < end; ++i) {
        PangoRectangle logical;
        pango_layout_line_get_extents(m_pLines[i].line, nullptr, &logical);
        pango_ft2_render_layout_line_subpixel(&bitmap, m_pLines[i].line,
                                              Clamped(1LL * PANGO_SCALE * x + m_pLines[i].x),
                                              Clamped(top - logical.y));
        top += 0LL + logical.height + pango_layout_get_spacing(m_pLayout.get());
    }
}

} // namespace QvFormat
