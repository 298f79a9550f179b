#include "layout/CPangoLayout.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <new>

#include <ft2build.h>
#include FT_BITMAP_H
#include <pango/pangoft2.h>

#include "base/CUtility.h"
#include "base/Handles.h"
#include "layout/LayoutRegistry.h"
#include "layout/PageCutter.h"
#include "layout/PangoLineInfo.h"

namespace QvFormat {

namespace {

struct FontDescriptionDeleter {
    void operator()(PangoFontDescription* description) const {
        pango_font_description_free(description);
    }
};
using FontDescriptionPtr = std::unique_ptr<PangoFontDescription, FontDescriptionDeleter>;

const char kContinuesKey[] = "umdformat-text-continues";

// Values too large for Pango are as good as endless.
int ToPangoUnits(long long pixels) {
    const long long limit = INT_MAX / PANGO_SCALE;
    return static_cast<int>(std::clamp(pixels, -limit, limit)) * PANGO_SCALE;
}

int ToPixels(int pangoUnits) {
    return pangoUnits / PANGO_SCALE;
}

int ToSigned(unsigned int pixels) {
    return static_cast<int>(std::min<unsigned int>(pixels, INT_MAX));
}

int SaturatedAdd(int a, int b) {
    const long long sum = static_cast<long long>(a) + b;
    return static_cast<int>(std::clamp<long long>(sum, INT_MIN, INT_MAX));
}

// Our enumerations count as Pango's do; a value outside them is their 0.
int KnownOrZero(int value, int last) {
    return value >= 0 && value <= last ? value : 0;
}

template<typename Value>
int Deliver(Value* out, Value value) {
    if (!out)
        return 0;
    *out = value;
    return 1;
}

void FreeNodes(PangoLineInfoNode* node) {
    while (node) {
        MallocPtr<PangoLineInfoNode> owner(node);
        node = node->next;
    }
}

// The last line of a text that ends with a separator: it holds nothing.
bool IsEmptyLastLine(const PangoLineInfoNode& node, int textLength) {
    return !node.next && node.start_index == textLength && textLength > 0;
}

// Joins the lines of a text handed over in two parts, the second `offset` bytes into the text.
PangoLineInfoNode* Join(PangoLineInfoNode* first, PangoLineInfoNode* second, int offset) {
    PangoLineInfoNode** tail = &first;
    while (*tail && !IsEmptyLastLine(**tail, offset))
        tail = &(*tail)->next;
    FreeNodes(*tail);
    *tail = second;
    for (PangoLineInfoNode* node = second; node; node = node->next)
        node->start_index += offset;
    return first;
}

bool EndsWithSeparator(const char* text, int length) {
    if (length < 1)
        return false;
    const char last = text[length - 1];
    return last == '\n' || last == '\r' ||
           (length >= 3 && std::memcmp(text + length - 3, "\xe2\x80\xa9", 3) == 0);
}

// Puts back, when it goes, the indent and the width with which Pango breaks lines.
class SavedLineShape {
public:
    explicit SavedLineShape(PangoLayout* layout)
        : m_pLayout(layout), m_nIndent(pango_layout_get_indent(layout)),
          m_nWidth(pango_layout_get_width(layout)) {}
    ~SavedLineShape() {
        pango_layout_set_indent(m_pLayout, m_nIndent);
        pango_layout_set_width(m_pLayout, m_nWidth);
    }
    SavedLineShape(const SavedLineShape&) = delete;
    SavedLineShape& operator=(const SavedLineShape&) = delete;

    int Indent() const { return m_nIndent; } // Pango units

private:
    PangoLayout* m_pLayout;
    int m_nIndent;
    int m_nWidth;
};

// Makes Pango break text as the inner lines of a paragraph: without a first-line indent, and in the
// width that a negative indent leaves all lines but the first. Returns how many pixels to the right
// such lines stand.
int ShapeAsContinuation(PangoLayout* layout) {
    const int indent = pango_layout_get_indent(layout);
    pango_layout_set_indent(layout, 0);
    if (indent >= 0)
        return 0;
    pango_layout_set_width(layout, std::max(pango_layout_get_width(layout) + indent, 0));
    return pango_layout_get_alignment(layout) == PANGO_ALIGN_LEFT ? ToPixels(-indent) : 0;
}

int StartIndex(const GSList* line) {
    return static_cast<const PangoLayoutLine*>(line->data)->start_index;
}

// Height in pixels of the first `count` lines that Pango holds, the spacing behind each included.
int LinesHeight(PangoLayout* layout, int count) {
    int height = count * pango_layout_get_spacing(layout);
    for (GSList* line = pango_layout_get_lines_readonly(layout); line && count > 0; --count) {
        PangoRectangle logical;
        pango_layout_line_get_extents(static_cast<PangoLayoutLine*>(line->data), nullptr, &logical);
        height += logical.height;
        line = line->next;
    }
    return PANGO_PIXELS_CEIL(height);
}

} // namespace

void GObjectReleaser::operator()(void* object) const {
    g_object_unref(object);
}

CPangoLayout::CPangoLayout(const char* fontDescription, unsigned int width, unsigned int height,
                           unsigned int dpiX, unsigned int dpiY)
    : m_nLayoutWidth(width), m_nLayoutHeight(height) {
    RegisterLayout(this);
    if (!fontDescription || !width || !height || !dpiX || !dpiY)
        return;
    m_pFontMap.reset(pango_ft2_font_map_new());
    pango_ft2_font_map_set_resolution(PANGO_FT2_FONT_MAP(m_pFontMap.get()), dpiX, dpiY);
    m_pContext.reset(pango_font_map_create_context(m_pFontMap.get()));
    m_pLayout.reset(pango_layout_new(m_pContext.get()));
    const FontDescriptionPtr description(pango_font_description_from_string(fontDescription));
    pango_layout_set_font_description(m_pLayout.get(), description.get());
    pango_layout_set_width(m_pLayout.get(), ToPangoUnits(width));
}

CPangoLayout::~CPangoLayout() {
    UnregisterLayout(this);
}

// --- properties ---------------------------------------------------------------------------------

void CPangoLayout::SetLayoutRect(unsigned int width, unsigned int height) {
    if (!m_pLayout || !width || !height)
        return;
    m_nLayoutWidth = width;
    m_nLayoutHeight = height;
    pango_layout_set_width(m_pLayout.get(), ToPangoUnits(width));
    ClearPages();
}

int CPangoLayout::GetLayoutRect(unsigned int* width, unsigned int* height) {
    if (!m_pLayout)
        return 0;
    if (width)
        *width = m_nLayoutWidth;
    if (height)
        *height = m_nLayoutHeight;
    return 1;
}

// Pango stops at a zero byte, which would hide the text behind it, so a space stands in for it.
void CPangoLayout::SetText(const char* text, int length) {
    if (!m_pLayout || !text)
        return;
    if (length < 1)
        length = static_cast<int>(std::min<std::size_t>(std::strlen(text), INT_MAX));
    std::unique_ptr<char[]> copy(new (std::nothrow) char[static_cast<std::size_t>(length)]);
    if (!copy)
        return;
    std::replace_copy(text, text + length, copy.get(), '\0', ' ');
    m_pText = std::move(copy);
    m_nTextLength = length;
    SetTextContinues(0);
}

// Kept with the Pango layout: the fields of this class are fixed for hosts already compiled.
void CPangoLayout::SetTextContinues(int continues) {
    if (!m_pLayout)
        return;
    g_object_set_data(G_OBJECT(m_pLayout.get()), kContinuesKey, GINT_TO_POINTER(continues));
    ClearPages();
}

bool CPangoLayout::TextContinues() const {
    return g_object_get_data(G_OBJECT(m_pLayout.get()), kContinuesKey) != nullptr;
}

void CPangoLayout::SetFontDescription(const char* description) {
    if (!m_pLayout || !description)
        return;
    const FontDescriptionPtr parsed(pango_font_description_from_string(description));
    pango_layout_set_font_description(m_pLayout.get(), parsed.get());
    ClearPages();
}

void CPangoLayout::SetWrap(QVLayoutWrapMode wrap) {
    if (!m_pLayout)
        return;
    const int known = KnownOrZero(wrap, QVLayoutWrapWordChar);
    pango_layout_set_wrap(m_pLayout.get(), static_cast<PangoWrapMode>(known));
    ClearPages();
}

void CPangoLayout::SetEllipsize(QVLayoutEllipsizeMode ellipsize) {
    if (!m_pLayout)
        return;
    const int known = KnownOrZero(ellipsize, QVLayoutEllipsizeEnd);
    pango_layout_set_ellipsize(m_pLayout.get(), static_cast<PangoEllipsizeMode>(known));
    ClearPages();
}

void CPangoLayout::SetAlignment(QVLayoutAlignment alignment) {
    if (!m_pLayout)
        return;
    const int known = KnownOrZero(alignment, QVLayoutAlignRight);
    pango_layout_set_alignment(m_pLayout.get(), static_cast<PangoAlignment>(known));
    ClearPages();
}

int CPangoLayout::GetWrap(QVLayoutWrapMode* wrap) {
    if (!m_pLayout)
        return 0;
    const int value = KnownOrZero(pango_layout_get_wrap(m_pLayout.get()), QVLayoutWrapWordChar);
    return Deliver(wrap, static_cast<QVLayoutWrapMode>(value));
}

int CPangoLayout::GetEllipsize(QVLayoutEllipsizeMode* ellipsize) {
    if (!m_pLayout)
        return 0;
    const int value =
        KnownOrZero(pango_layout_get_ellipsize(m_pLayout.get()), QVLayoutEllipsizeEnd);
    return Deliver(ellipsize, static_cast<QVLayoutEllipsizeMode>(value));
}

int CPangoLayout::GetAlignment(QVLayoutAlignment* alignment) {
    if (!m_pLayout)
        return 0;
    const int value = KnownOrZero(pango_layout_get_alignment(m_pLayout.get()), QVLayoutAlignRight);
    return Deliver(alignment, static_cast<QVLayoutAlignment>(value));
}

void CPangoLayout::SetIndent(int pixels) {
    if (!m_pLayout)
        return;
    pango_layout_set_indent(m_pLayout.get(), ToPangoUnits(pixels));
    ClearPages();
}

int CPangoLayout::GetIndent(int* pixels) {
    return m_pLayout ? Deliver(pixels, ToPixels(pango_layout_get_indent(m_pLayout.get()))) : 0;
}

void CPangoLayout::SetLineSpacing(unsigned int pixels) {
    if (!m_pLayout)
        return;
    pango_layout_set_spacing(m_pLayout.get(), ToPangoUnits(pixels));
    ClearPages();
}

int CPangoLayout::GetLineSpacing(unsigned int* pixels) {
    return m_pLayout ? Deliver(pixels, static_cast<unsigned int>(SpacingInPixels())) : 0;
}

int CPangoLayout::SpacingInPixels() const {
    return ToPixels(pango_layout_get_spacing(m_pLayout.get()));
}

void CPangoLayout::SetJustify(int justify) {
    if (!m_pLayout)
        return;
    pango_layout_set_justify(m_pLayout.get(), justify);
    ClearPages();
}

void CPangoLayout::SetSingleParagraphMode(int single) {
    if (!m_pLayout)
        return;
    pango_layout_set_single_paragraph_mode(m_pLayout.get(), single);
    ClearPages();
}

int CPangoLayout::GetJustify(int* justify) {
    return m_pLayout ? Deliver(justify, pango_layout_get_justify(m_pLayout.get())) : 0;
}

int CPangoLayout::GetSingleParagraphMode(int* single) {
    return m_pLayout ? Deliver(single, pango_layout_get_single_paragraph_mode(m_pLayout.get())) : 0;
}

// --- lines and pages ----------------------------------------------------------------------------

int CPangoLayout::GetLineCount(unsigned int* count) {
    if (!m_pLayout || !count)
        return 0;
    if (!m_pLineTable)
        DoLayout();
    return Deliver(count, m_nLineCount);
}

int CPangoLayout::GetPageCount(unsigned int* count) {
    if (!m_pLayout || !count)
        return 0;
    if (!m_pLineTable)
        DoLayout();
    return Deliver(count, m_nPageCount);
}

int CPangoLayout::GetLineTable(QVLayoutLineInfo** table, unsigned int* count) {
    if (!m_pLayout || !table || !count)
        return 0;
    *table = nullptr;
    if (!m_pLineTable)
        DoLayout();
    if (!m_nLineCount)
        return 0;
    auto* copy = new (std::nothrow) QVLayoutLineInfo[m_nLineCount];
    if (!copy)
        return 0;
    std::copy_n(m_pLineTable.get(), m_nLineCount, copy);
    *table = copy;
    *count = m_nLineCount;
    return 1;
}

void CPangoLayout::ClearPages() {
    m_nPageCount = 0;
    m_nLineCount = 0;
    m_pLineTable.reset();
}

void CPangoLayout::DoLayout() {
    ClearPages();
    if (!m_pText)
        return;
    PangoLineInfoNode* lines = LayOutText();
    for (const PangoLineInfoNode* node = lines; node; node = node->next)
        ++m_nLineCount;
    if (m_nLineCount)
        m_pLineTable.reset(new (std::nothrow) QVLayoutLineInfo[m_nLineCount]);
    if (m_pLineTable)
        FillLineTable(lines);
    else
        m_nLineCount = 0;
    FreeNodes(lines);
}

// Lays out the whole text. One that begins inside a paragraph goes to Pango in two parts, the rest
// of that paragraph without the first-line indent.
PangoLineInfoNode* CPangoLayout::LayOutText() {
    const int rest = TextContinues() ? ParagraphEnd() : 0;
    PangoLineInfoNode* lines = nullptr;
    if (rest > 0) {
        const SavedLineShape saved(m_pLayout.get());
        ShapeAsContinuation(m_pLayout.get());
        lines = LayOutPart(0, rest);
        if (!lines || rest == m_nTextLength)
            return lines;
    }
    PangoLineInfoNode* others = LayOutPart(rest, m_nTextLength);
    if (others)
        return Join(lines, others, rest);
    FreeNodes(lines);
    return nullptr;
}

PangoLineInfoNode* CPangoLayout::LayOutPart(int begin, int end) {
    pango_layout_set_text(m_pLayout.get(), m_pText.get() + begin, end - begin);
    pango_layout_set_disable_cache(m_pLayout.get(), TRUE);
    return pango_layout_get_line_info_list(m_pLayout.get());
}

// Where the paragraph ends that the text begins in, its separator included.
int CPangoLayout::ParagraphEnd() const {
    if (pango_layout_get_single_paragraph_mode(m_pLayout.get()))
        return m_nTextLength;
    int separator = 0;
    int next = 0;
    pango_find_paragraph_boundary(m_pText.get(), m_nTextLength, &separator, &next);
    return next;
}

void CPangoLayout::FillLineTable(const PangoLineInfoNode* lines) {
    PageCutter cutter(m_nLayoutHeight, SpacingInPixels());
    m_nPageCount = 1;
    QVLayoutLineInfo* entry = m_pLineTable.get();
    for (const PangoLineInfoNode* node = lines; node; node = node->next) {
        *entry++ = {node->start_index, node->height};
        if (cutter.BreaksBefore(node->height))
            ++m_nPageCount;
    }
}

int CPangoLayout::GetPageStartingLine(int page) {
    if (page == 0)
        return 0;
    if (!m_pLineTable)
        return -1;
    PageCutter cutter(m_nLayoutHeight, SpacingInPixels());
    int breaks = 0;
    for (unsigned int line = 0; line < m_nLineCount; ++line) {
        if (cutter.BreaksBefore(m_pLineTable[line].height) && ++breaks == page)
            return static_cast<int>(line);
    }
    return -1;
}

int CPangoLayout::GetPageEndLine(int line) {
    const unsigned int first = static_cast<unsigned int>(line);
    if (first >= m_nLineCount)
        return static_cast<int>(m_nLineCount) - 1;
    PageCutter cutter(m_nLayoutHeight, SpacingInPixels());
    unsigned int next = first;
    while (next < m_nLineCount && !cutter.BreaksBefore(m_pLineTable[next].height))
        ++next;
    return static_cast<int>(next) - 1;
}

int CPangoLayout::LineEnd(int line) const {
    const unsigned int next = static_cast<unsigned int>(line) + 1;
    return next < m_nLineCount ? m_pLineTable[next].offset : m_nTextLength;
}

bool CPangoLayout::BeginsParagraph(int line) const {
    if (line == 0)
        return !TextContinues();
    return !pango_layout_get_single_paragraph_mode(m_pLayout.get()) &&
           EndsWithSeparator(m_pText.get(), m_pLineTable[line].offset);
}

// --- drawing ------------------------------------------------------------------------------------

bool CPangoLayout::CanDraw(const QV_IMAGE& image) const {
    return m_pLayout && image.buffer && image.width && image.height && image.stride &&
           image.width <= image.stride && m_nLayoutWidth && m_nLayoutHeight;
}

int CPangoLayout::DrawPageFromPageNo(unsigned int page, QV_IMAGE image, int x, int y) {
    if (!CanDraw(image))
        return 0;
    if (!m_pLineTable)
        DoLayout();
    if (page >= m_nPageCount)
        return 0;
    const int line = GetPageStartingLine(static_cast<int>(page));
    if (line < 0)
        return 0;
    return static_cast<ITextLayout*>(this)->DrawPageFromLineNo(static_cast<unsigned int>(line),
                                                               image, x, y);
}

int CPangoLayout::DrawPageFromLineNo(unsigned int line, QV_IMAGE image, int x, int y) {
    if (!CanDraw(image))
        return 0;
    const QV_RECT page = {0, 0, ToSigned(m_nLayoutWidth), ToSigned(m_nLayoutHeight)};
    const QV_RECT target = {x, y, SaturatedAdd(x, image.width), SaturatedAdd(y, image.height)};
    const QV_RECT visible = CUtility::GetIntersectRect(page, target);
    if (CUtility::IsEmptyRect(visible))
        return 0;
    if (!m_pLineTable)
        DoLayout();
    if (line >= m_nLineCount)
        return 0;
    image.width = visible.right - visible.left;
    image.height = visible.bottom - visible.top;
    const int first = static_cast<int>(line);
    return DrawLines(first, GetPageEndLine(first) + 1, image, -visible.left, -visible.top);
}

// Handed to Pango alone, lines that go on with a paragraph begun before them would be taken for a
// paragraph of their own: indented, broken anew and often one line longer than was counted. So they
// go without the first-line indent, and the rest of the page after them.
int CPangoLayout::DrawLines(int first, int end, const QV_IMAGE& image, int x, int y) {
    int rest = first;
    while (rest < end && !BeginsParagraph(rest))
        ++rest;
    int height = 0;
    if (rest > first) {
        const SavedLineShape saved(m_pLayout.get());
        const int shift = ShapeAsContinuation(m_pLayout.get());
        if (!DrawPart(first, rest, image, x + shift, y, &height))
            return 0;
        if (rest == end || m_pLineTable[rest].offset == LineEnd(end - 1))
            return 1;
    }
    return DrawPart(rest, end, image, x, y + height, &height);
}

// Stores the height of the lines, the spacing behind each included.
int CPangoLayout::DrawPart(int first, int end, const QV_IMAGE& image, int x, int y, int* height) {
    HandOver(first, end);
    if (!HoldsLines(first, end))
        return DrawLineByLine(first, end, image, x, y, height);
    *height = LinesHeight(m_pLayout.get(), end - first);
    return DrawTarget(image, x, y);
}

void CPangoLayout::HandOver(int first, int end) {
    const int begin = m_pLineTable[first].offset;
    const int length = end > first ? LineEnd(end - 1) - begin : 0;
    pango_layout_set_text(m_pLayout.get(), m_pText.get() + begin, length);
    pango_layout_set_disable_cache(m_pLayout.get(), FALSE);
}

// Whether Pango breaks the text it holds into the lines that the line table has for it.
bool CPangoLayout::HoldsLines(int first, int end) const {
    const int begin = m_pLineTable[first].offset;
    const GSList* item = pango_layout_get_lines_readonly(m_pLayout.get());
    for (int line = first; line < end; ++line, item = item->next) {
        if (!item || StartIndex(item) != m_pLineTable[line].offset - begin)
            return false;
    }
    return first == end || !item || begin + StartIndex(item) == LineEnd(end - 1);
}

// For the rare text whose breaks depend on what stands before it: each line unbroken, on its own.
int CPangoLayout::DrawLineByLine(int first, int end, const QV_IMAGE& image, int x, int y,
                                 int* height) {
    const SavedLineShape saved(m_pLayout.get());
    pango_layout_set_width(m_pLayout.get(), -1);
    *height = 0;
    for (int line = first; line < end; ++line) {
        pango_layout_set_indent(m_pLayout.get(), BeginsParagraph(line) ? saved.Indent() : 0);
        HandOver(line, line + 1);
        if (!DrawTarget(image, x, y + *height))
            return 0;
        *height += LinesHeight(m_pLayout.get(), 1);
    }
    return 1;
}

int CPangoLayout::DrawTarget(QV_IMAGE image, int x, int y) {
    const std::unique_ptr<FT_Bitmap> bitmap(new (std::nothrow) FT_Bitmap{});
    if (!bitmap)
        return 0;
    bitmap->rows = static_cast<unsigned int>(image.height);
    bitmap->width = static_cast<unsigned int>(image.width);
    bitmap->pitch = image.stride;
    bitmap->buffer = image.buffer;
    bitmap->num_grays = 256;
    bitmap->pixel_mode = FT_PIXEL_MODE_GRAY;
    pango_ft2_render_layout(bitmap.get(), m_pLayout.get(), x, y);
    return 1;
}

} // namespace QvFormat
