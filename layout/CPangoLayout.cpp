#include "layout/CPangoLayout.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <new>

#include <pango/pangoft2.h>

#include "base/CUtility.h"
#include "base/OwnedArray.h"
#include "layout/GreyImage.h"
#include "layout/KeptLines.h"
#include "layout/LayoutRegistry.h"
#include "layout/PageCutter.h"
#include "layout/PangoLineInfo.h"

namespace QvFormat {

namespace {

// What else belongs to the text. The Pango layout owns it, because the fields of the class are part
// of the binary interface.
struct TextState {
    bool continues = false;
    KeptLines lines; // there exactly when the line table is
};

const char kStateKey[] = "umdformat-text-state";

TextState& State(const GObjectPtr<PangoLayout>& layout) {
    return *static_cast<TextState*>(g_object_get_data(G_OBJECT(layout.get()), kStateKey));
}

// Values too large for Pango are as good as endless.
int ToPangoUnits(long long pixels) {
    const long long limit = INT_MAX / PANGO_SCALE;
    return static_cast<int>(std::clamp(pixels, -limit, limit)) * PANGO_SCALE;
}

// Our enumerations count as Pango's do; a value outside them is their 0.
int KnownOrZero(int value, int last) {
    return value >= 0 && value <= last ? value : 0;
}

// Properties of the Pango layout; an inert object has none.
template<typename Value>
int Get(const GObjectPtr<PangoLayout>& layout, Value (*getter)(PangoLayout*)) {
    return layout ? getter(layout.get()) : 0;
}

template<typename Value>
int Deliver(const GObjectPtr<PangoLayout>& layout, Value* out, unsigned int value) {
    if (!layout || !out)
        return 0;
    *out = static_cast<Value>(value);
    return 1;
}

// U+0000 would hide the text after it. Isolates make fribidi before 1.0.11 use freed memory, so the
// embeddings of the same meaning and size stand in for them, with any fribidi: books break alike.
void ReplaceUnsafe(char* text, int length) {
    const char embeddings[] = "\xaa\xab\xaa\xac"; // U+202A, U+202B, U+202A, U+202C
    std::replace(text, text + length, '\0', ' ');
    for (int i = 0; i + 2 < length; ++i) {
        const int isolate = static_cast<unsigned char>(text[i + 2]) - 0xa6; // of U+2066
        if (text[i] == '\xe2' && text[i + 1] == '\x81' && isolate >= 0 && isolate < 4) {
            text[i + 1] = '\x80';
            text[i + 2] = embeddings[isolate];
        }
    }
}

PageCutter NewCutter(unsigned int pageHeight, const GObjectPtr<PangoLayout>& layout) {
    return PageCutter(pageHeight, Get(layout, pango_layout_get_spacing) / PANGO_SCALE);
}

} // namespace

void GObjectReleaser::operator()(void* object) const {
    g_object_unref(object);
}

CPangoLayout::CPangoLayout(const char* fontDescription, unsigned int width, unsigned int height,
                           unsigned int dpiX, unsigned int dpiY)
    : m_nLayoutWidth(width), m_nLayoutHeight(height) {
    RegisterLayout(this);
    std::unique_ptr<TextState> state(new (std::nothrow) TextState);
    if (!fontDescription || !width || !height || !dpiX || !dpiY || !state)
        return;
    m_pFontMap.reset(pango_ft2_font_map_new());
    pango_ft2_font_map_set_resolution(PANGO_FT2_FONT_MAP(m_pFontMap.get()), dpiX, dpiY);
    m_pContext.reset(pango_font_map_create_context(m_pFontMap.get()));
    m_pLayout.reset(pango_layout_new(m_pContext.get()));
    g_object_set_data_full(G_OBJECT(m_pLayout.get()), kStateKey, state.release(),
                           [](void* data) { delete static_cast<TextState*>(data); });
    CPangoLayout::SetFontDescription(fontDescription);
    CPangoLayout::SetLayoutRect(width, height);
}

CPangoLayout::~CPangoLayout() {
    UnregisterLayout(this);
}

// --- properties ---------------------------------------------------------------------------------

template<typename Value>
void CPangoLayout::Set(void (*setter)(PangoLayout*, Value), int value) {
    if (m_pLayout)
        setter(m_pLayout.get(), static_cast<Value>(value));
    ClearPages();
}

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

void CPangoLayout::SetText(const char* text, int length) {
    if (!m_pLayout || !text)
        return;
    if (length < 1)
        length = static_cast<int>(std::min<std::size_t>(std::strlen(text), INT_MAX));
    std::unique_ptr<char[]> copy = CopyArray(text, static_cast<std::size_t>(length));
    if (!copy)
        return;
    ReplaceUnsafe(copy.get(), length);
    m_pText = std::move(copy);
    m_nTextLength = length;
    SetTextContinues(0);
}

void CPangoLayout::SetTextContinues(int continues) {
    if (!m_pLayout)
        return;
    State(m_pLayout).continues = continues != 0;
    ClearPages();
}

void CPangoLayout::SetFontDescription(const char* description) {
    if (!m_pLayout || !description)
        return;
    const std::unique_ptr<PangoFontDescription, decltype(&pango_font_description_free)> parsed(
        pango_font_description_from_string(description), pango_font_description_free);
    pango_layout_set_font_description(m_pLayout.get(), parsed.get());
    ClearPages();
}

void CPangoLayout::SetWrap(QVLayoutWrapMode wrap) {
    Set(pango_layout_set_wrap, KnownOrZero(wrap, QVLayoutWrapWordChar));
}

void CPangoLayout::SetEllipsize(QVLayoutEllipsizeMode ellipsize) {
    Set(pango_layout_set_ellipsize, KnownOrZero(ellipsize, QVLayoutEllipsizeEnd));
}

void CPangoLayout::SetAlignment(QVLayoutAlignment alignment) {
    Set(pango_layout_set_alignment, KnownOrZero(alignment, QVLayoutAlignRight));
}

int CPangoLayout::GetWrap(QVLayoutWrapMode* wrap) {
    return Deliver(m_pLayout, wrap, Get(m_pLayout, pango_layout_get_wrap));
}

int CPangoLayout::GetEllipsize(QVLayoutEllipsizeMode* ellipsize) {
    return Deliver(m_pLayout, ellipsize, Get(m_pLayout, pango_layout_get_ellipsize));
}

int CPangoLayout::GetAlignment(QVLayoutAlignment* alignment) {
    return Deliver(m_pLayout, alignment, Get(m_pLayout, pango_layout_get_alignment));
}

void CPangoLayout::SetIndent(int pixels) {
    Set(pango_layout_set_indent, ToPangoUnits(pixels));
}

int CPangoLayout::GetIndent(int* pixels) {
    return Deliver(m_pLayout, pixels, Get(m_pLayout, pango_layout_get_indent) / PANGO_SCALE);
}

void CPangoLayout::SetLineSpacing(unsigned int pixels) {
    Set(pango_layout_set_spacing, ToPangoUnits(pixels));
}

int CPangoLayout::GetLineSpacing(unsigned int* pixels) {
    return Deliver(m_pLayout, pixels, Get(m_pLayout, pango_layout_get_spacing) / PANGO_SCALE);
}

void CPangoLayout::SetJustify(int justify) {
    Set(pango_layout_set_justify, justify);
}

void CPangoLayout::SetSingleParagraphMode(int single) {
    Set(pango_layout_set_single_paragraph_mode, single);
}

int CPangoLayout::GetJustify(int* justify) {
    return Deliver(m_pLayout, justify, Get(m_pLayout, pango_layout_get_justify));
}

int CPangoLayout::GetSingleParagraphMode(int* single) {
    return Deliver(m_pLayout, single, Get(m_pLayout, pango_layout_get_single_paragraph_mode));
}

// --- lines and pages ----------------------------------------------------------------------------

int CPangoLayout::GetLineCount(unsigned int* count) {
    if (count && !m_pLineTable)
        DoLayout();
    return Deliver(m_pLayout, count, m_nLineCount);
}

int CPangoLayout::GetPageCount(unsigned int* count) {
    if (count && !m_pLineTable)
        DoLayout();
    return Deliver(m_pLayout, count, m_nPageCount);
}

int CPangoLayout::GetLineTable(QVLayoutLineInfo** table, unsigned int* count) {
    if (!m_pLayout || !table || !count)
        return 0;
    if (!m_pLineTable)
        DoLayout();
    *table = m_pLineTable ? CopyArray(m_pLineTable.get(), m_nLineCount).release() : nullptr;
    if (!*table)
        return 0;
    *count = m_nLineCount;
    return 1;
}

void CPangoLayout::ClearPages() {
    m_nPageCount = 0;
    m_nLineCount = 0;
    m_pLineTable.reset();
    if (m_pLayout)
        State(m_pLayout).lines = KeptLines();
}

void CPangoLayout::DoLayout() {
    ClearPages();
    if (!m_pText)
        return;
    pango_layout_set_text(m_pLayout.get(), m_pText.get(), m_nTextLength);
    pango_layout_set_disable_cache(m_pLayout.get(), TRUE);
    TextState& state = State(m_pLayout);
    state.lines = KeptLines(m_pLayout.get(), state.continues);
    m_pLineTable = state.lines.TakeTable();
    if (!m_pLineTable)
        return;
    m_nLineCount = static_cast<unsigned int>(state.lines.Count());
    m_nPageCount = 1;
    PageCutter cutter = NewCutter(m_nLayoutHeight, m_pLayout);
    for (unsigned int line = 0; line < m_nLineCount; ++line)
        m_nPageCount += cutter.BreaksBefore(m_pLineTable[line].height);
}

int CPangoLayout::GetPageStartingLine(int page) {
    if (page == 0)
        return 0;
    if (!m_pLineTable)
        return -1;
    PageCutter cutter = NewCutter(m_nLayoutHeight, m_pLayout);
    int breaks = 0;
    for (unsigned int line = 0; line < m_nLineCount; ++line) {
        if (cutter.BreaksBefore(m_pLineTable[line].height) && ++breaks == page)
            return static_cast<int>(line);
    }
    return -1;
}

int CPangoLayout::GetPageEndLine(int line) {
    PageCutter cutter = NewCutter(m_nLayoutHeight, m_pLayout);
    auto next = static_cast<unsigned int>(line);
    while (next < m_nLineCount && !cutter.BreaksBefore(m_pLineTable[next].height))
        ++next;
    return static_cast<int>(std::min(next, m_nLineCount)) - 1;
}

// --- drawing ------------------------------------------------------------------------------------

int CPangoLayout::DrawPageFromPageNo(unsigned int page, QV_IMAGE image, int x, int y) {
    if (!m_pLayout || !IsDrawable(image))
        return 0;
    if (!m_pLineTable)
        DoLayout();
    const int line = page < m_nPageCount ? GetPageStartingLine(static_cast<int>(page)) : -1;
    if (line < 0)
        return 0;
    return DrawPageFromLineNo(static_cast<unsigned int>(line), image, x, y);
}

// Pango is handed the page's text for DrawTarget alone, and lays nothing out for that.
int CPangoLayout::DrawPageFromLineNo(unsigned int line, QV_IMAGE image, int x, int y) {
    if (!m_pLayout || !IsDrawable(image))
        return 0;
    const QV_RECT visible = VisiblePart(image, m_nLayoutWidth, m_nLayoutHeight, x, y);
    if (CUtility::IsEmptyRect(visible))
        return 0;
    if (!m_pLineTable)
        DoLayout();
    if (line >= m_nLineCount)
        return 0;
    const int first = static_cast<int>(line);
    const int end = GetPageEndLine(first) + 1;
    const int begin = m_pLineTable[first].offset;
    const bool isLast = end == static_cast<int>(m_nLineCount);
    const int length = (isLast ? m_nTextLength : m_pLineTable[end].offset) - begin;
    pango_layout_set_text(m_pLayout.get(), m_pText.get() + begin, length);
    pango_layout_set_disable_cache(m_pLayout.get(), FALSE);
    image.width = visible.right - visible.left;
    image.height = visible.bottom - visible.top;
    State(m_pLayout).lines.Draw(first, end, image, -visible.left, -visible.top);
    return 1;
}

int CPangoLayout::DrawTarget(QV_IMAGE image, int x, int y) {
    if (!m_pLayout)
        return 0;
    const KeptLines lines(m_pLayout.get(), false);
    lines.Draw(0, lines.Count(), image, x, y);
    return lines.Count() > 0;
}

} // namespace QvFormat
