#include "layout/CPangoLayout.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <new>

#include <pango/pangoft2.h>

#include "layout/GreyImage.h"
#include "layout/KeptLines.h"
#include "layout/LayoutRegistry.h"
#include "layout/PageCutter.h"
#include "layout/PangoLineInfo.h"
#include "layout/ReadableLayout.h"

namespace QvFormat {

namespace {

struct FontDescriptionDeleter {
    void operator()(PangoFontDescription* description) const {
        pango_font_description_free(description);
    }
};
using FontDescriptionPtr = std::unique_ptr<PangoFontDescription, FontDescriptionDeleter>;

// What else belongs to the text. The Pango layout owns it, because the fields of the class are part
// of the binary interface.
struct TextState {
    bool continues = false;
    std::unique_ptr<KeptLines> lines; // there exactly when the line table is
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

int ToPixels(int pangoUnits) {
    return pangoUnits / PANGO_SCALE;
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

int SpacingInPixels(const GObjectPtr<PangoLayout>& layout) {
    return ToPixels(pango_layout_get_spacing(layout.get()));
}

} // namespace

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
    auto* state = new (std::nothrow) TextState;
    if (!state) {
        m_pLayout.reset();
        return;
    }
    g_object_set_data_full(G_OBJECT(m_pLayout.get()), kStateKey, state,
                           [](void* data) { delete static_cast<TextState*>(data); });
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

void CPangoLayout::SetText(const char* text, int length) {
    if (!m_pLayout || !text)
        return;
    if (length < 1)
        length = static_cast<int>(std::min<std::size_t>(std::strlen(text), INT_MAX));
    std::unique_ptr<char[]> copy(new (std::nothrow) char[static_cast<std::size_t>(length)]);
    if (!copy)
        return;
    std::copy_n(text, length, copy.get());
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
    return m_pLayout ? Deliver(pixels, static_cast<unsigned int>(SpacingInPixels(m_pLayout))) : 0;
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
    if (m_pLayout)
        State(m_pLayout).lines.reset();
}

void CPangoLayout::DoLayout() {
    ClearPages();
    if (!m_pText)
        return;
    pango_layout_set_text(m_pLayout.get(), m_pText.get(), m_nTextLength);
    pango_layout_set_disable_cache(m_pLayout.get(), TRUE);
    TextState& state = State(m_pLayout);
    std::unique_ptr<KeptLines> lines(new (std::nothrow)
                                         KeptLines(m_pLayout.get(), state.continues));
    const int count = lines ? lines->Count() : 0;
    if (!count)
        return;
    m_pLineTable.reset(new (std::nothrow) QVLayoutLineInfo[static_cast<std::size_t>(count)]);
    if (!m_pLineTable)
        return;
    m_nLineCount = static_cast<unsigned int>(count);
    m_nPageCount = 1;
    PageCutter cutter(m_nLayoutHeight, SpacingInPixels(m_pLayout));
    for (int line = 0; line < count; ++line) {
        m_pLineTable[line] = lines->Info(line);
        m_nPageCount += cutter.BreaksBefore(m_pLineTable[line].height);
    }
    state.lines = std::move(lines);
}

int CPangoLayout::GetPageStartingLine(int page) {
    if (page == 0)
        return 0;
    if (!m_pLineTable)
        return -1;
    PageCutter cutter(m_nLayoutHeight, SpacingInPixels(m_pLayout));
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
    PageCutter cutter(m_nLayoutHeight, SpacingInPixels(m_pLayout));
    unsigned int next = first;
    while (next < m_nLineCount && !cutter.BreaksBefore(m_pLineTable[next].height))
        ++next;
    return static_cast<int>(next) - 1;
}

// --- drawing ------------------------------------------------------------------------------------

int CPangoLayout::DrawPageFromPageNo(unsigned int page, QV_IMAGE image, int x, int y) {
    if (!m_pLayout || !GreyImage(image).IsValid())
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

// Pango is handed the page's text for DrawTarget alone, and lays nothing out for that. The page is
// drawn from the kept lines.
int CPangoLayout::DrawPageFromLineNo(unsigned int line, QV_IMAGE image, int x, int y) {
    GreyImage target(image);
    if (!m_pLayout || !target.IsValid() || !target.CutToPage(m_nLayoutWidth, m_nLayoutHeight, x, y))
        return 0;
    if (!m_pLineTable)
        DoLayout();
    if (line >= m_nLineCount)
        return 0;
    const int first = static_cast<int>(line);
    const int end = GetPageEndLine(first) + 1;
    const int textBegin = m_pLineTable[first].offset;
    const int textEnd =
        end < static_cast<int>(m_nLineCount) ? m_pLineTable[end].offset : m_nTextLength;
    pango_layout_set_text(m_pLayout.get(), m_pText.get() + textBegin, textEnd - textBegin);
    pango_layout_set_disable_cache(m_pLayout.get(), FALSE);
    State(m_pLayout).lines->Draw(first, end, target);
    return 1;
}

int CPangoLayout::DrawTarget(QV_IMAGE image, int x, int y) {
    FT_Bitmap bitmap = GreyImage(image).Bitmap();
    const GObjectPtr<PangoLayout> layout =
        NewReadableLayout(m_pLayout.get(), pango_layout_get_text(m_pLayout.get()));
    pango_ft2_render_layout(&bitmap, layout.get(), x, y);
    return 1;
}

} // namespace QvFormat
