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

// Pango counts the characters before each paragraph of a layout: a layout with many of them would
// take longer for each.
constexpr int kPieceBytes = 2048;

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
// separators. Each of 0xE5 to 0xE8 begins Chinese characters only.
bool StandsAlone(const char* text) {
    const auto first = static_cast<unsigned char>(*text);
    if (first < 0x80 || (first >= 0xe5 && first <= 0xe8))
        return true;
    const gunichar character = g_utf8_get_char(text);
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
    while (*next && StandsAlone(next))
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

// The first paragraph of a text, with its separator.
int ParagraphLength(const char* text, int length) {
    int separator = 0;
    int next = 0;
    pango_find_paragraph_boundary(text, length, &separator, &next);
    return next;
}

// What Pango itself still goes by.
bool HasDirection(const char* text, int length) {
    G_GNUC_BEGIN_IGNORE_DEPRECATIONS
    return pango_find_base_dir(text, length) != PANGO_DIRECTION_NEUTRAL;
    G_GNUC_END_IGNORE_DEPRECATIONS
}

// How much of a text Pango lays out alike without the rest: whole paragraphs. One that has no
// direction of its own takes that of the text before it, or of the first text that has one.
int PieceLength(const char* text, int length) {
    int piece = std::min(kPieceBytes, length);
    while (piece < length) {
        piece += ParagraphLength(text + piece, length - piece);
        const char* next = text + piece;
        if (HasDirection(next, ParagraphLength(next, length - piece)) && HasDirection(text, piece))
            break;
    }
    return piece;
}

// The settings of all pieces, without a text.
GObjectPtr<PangoLayout> StyleOf(PangoLayout* settings, bool continues) {
    GObjectPtr<PangoLayout> style(pango_layout_copy(settings));
    LimitIndent(style.get());
    if (continues && pango_layout_get_single_paragraph_mode(settings))
        pango_layout_set_indent(style.get(), 0);
    pango_layout_set_text(style.get(), "", 0);
    return style;
}

GObjectPtr<PangoLayout> LayOut(PangoLayout* style, const char* separator, const char* text,
                               int length) {
    const std::unique_ptr<char, decltype(&g_free)> whole(
        g_strdup_printf("%s%.*s", separator, length, text), g_free);
    GObjectPtr<PangoLayout> piece(pango_layout_copy(style));
    pango_layout_set_text(piece.get(), whole.get(), -1);
    if (pango_layout_get_wrap(style) == PANGO_WRAP_WORD_CHAR)
        KeepClustersWhole(piece.get());
    return piece;
}

// Far enough for any image, and small enough to add to.
int Clamped(long long units) {
    return static_cast<int>(std::clamp<long long>(units, INT_MIN / 2, INT_MAX / 2));
}

} // namespace

// Put before a text that goes on with a paragraph, a line separator takes the place of the
// paragraph's first line, so that Pango gives the lines after it no first-line indent.
KeptLines::KeptLines(PangoLayout* settings, bool continues) {
    const char* text = pango_layout_get_text(settings);
    const auto length = static_cast<int>(std::strlen(text));
    m_pPieces =
        NewArray<GObjectPtr<PangoLayout>>(static_cast<std::size_t>(length / kPieceBytes) + 1);
    if (!m_pPieces)
        return;
    const bool isOneParagraph = pango_layout_get_single_paragraph_mode(settings);
    const char* separator = continues && CanSeparate(settings, text) ? "\u2028" : "";
    const GObjectPtr<PangoLayout> style = StyleOf(settings, continues);
    int begin = 0;
    do {
        const int piece = isOneParagraph ? length : PieceLength(text + begin, length - begin);
        m_pPieces[m_nPieces++] =
            LayOut(style.get(), begin == 0 ? separator : "", text + begin, piece);
        begin += piece;
    } while (begin < length);
    if (!Keep(static_cast<int>(std::strlen(separator))))
        *this = KeptLines();
}

// The line of the separator is none of the text's, nor is the empty one that Pango adds after the
// last separator of a piece.
bool KeptLines::Keep(int separator) {
    int lines = 0;
    for (int i = 0; i < m_nPieces; ++i)
        lines += pango_layout_get_line_count(m_pPieces[i].get());
    m_pLines = NewArray<Line>(static_cast<std::size_t>(lines));
    m_pTable = NewArray<QVLayoutLineInfo>(static_cast<std::size_t>(lines));
    if (!m_pLines || !m_pTable)
        return false;
    m_nCount = separator > 0 ? -1 : 0;
    int offset = -separator;
    for (int i = 0; i < m_nPieces; ++i) {
        m_nCount -= i > 0;
        if (!KeepPiece(m_pPieces[i].get(), offset))
            return false;
        offset += static_cast<int>(std::strlen(pango_layout_get_text(m_pPieces[i].get())));
    }
    return true;
}

bool KeptLines::KeepPiece(PangoLayout* piece, int offset) {
    PangoLineInfoNode* node = pango_layout_get_line_info_list(piece);
    if (!node)
        return false;
    const std::unique_ptr<PangoLayoutIter, decltype(&pango_layout_iter_free)> iter(
        pango_layout_get_iter(piece), pango_layout_iter_free);
    for (; node; ++m_nCount) {
        const MallocPtr<PangoLineInfoNode> owner(node);
        PangoRectangle logical;
        pango_layout_iter_get_line_extents(iter.get(), nullptr, &logical);
        if (m_nCount >= 0) {
            m_pLines[m_nCount] = {pango_layout_iter_get_line_readonly(iter.get()), logical.x};
            m_pTable[m_nCount] = {node->start_index + offset, node->height};
        }
        pango_layout_iter_next_line(iter.get());
        node = node->next;
    }
    return true;
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
        top += 0LL + logical.height + pango_layout_get_spacing(m_pPieces[0].get());
    }
}

} // namespace QvFormat
