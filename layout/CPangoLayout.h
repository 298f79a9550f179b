#pragma once

#include <memory>

#include "ITextLayout.h"

typedef struct _PangoContext PangoContext;
typedef struct _PangoFontMap PangoFontMap;
typedef struct _PangoLayout PangoLayout;

namespace QvFormat {

// Drops one reference to a GObject.
struct GObjectReleaser {
    void operator()(void* object) const;
};

template<typename T>
using GObjectPtr = std::unique_ptr<T, GObjectReleaser>;

// The layout on Pango with its FreeType backend. One thread at a time. Each object owns a font map,
// a context and a Pango layout, and a copy of its text.
//
// The line table is built, and the lines laid out, by the first query or drawing that needs them;
// every setter drops both. Lengths are pixels; Pango's own unit is 1/1024 pixel.
//
// An indent beyond half the width leaves room for four wide letters; the getter answers what was
// set. In the text a space stands in for U+0000, and an embedding for an isolate (U+2066
// to U+2069).
class UMDFORMAT_API CPangoLayout : public ITextLayout {
public:
    // Sizes in pixels, resolutions in dots per inch: at 72, a font's points are pixels. A null
    // description or a zero makes an inert object, which answers 0 and ignores every setter.
    CPangoLayout(const char* fontDescription, unsigned int width, unsigned int height,
                 unsigned int dpiX, unsigned int dpiY);
    ~CPangoLayout() override;

    void SetLayoutRect(unsigned int width, unsigned int height) override;
    int GetLayoutRect(unsigned int* width, unsigned int* height) override;
    void SetText(const char* text, int length) override;
    void SetFontDescription(const char* description) override;
    void SetWrap(QVLayoutWrapMode wrap) override;
    void SetEllipsize(QVLayoutEllipsizeMode ellipsize) override;
    void SetAlignment(QVLayoutAlignment alignment) override;
    int GetWrap(QVLayoutWrapMode* wrap) override;
    int GetEllipsize(QVLayoutEllipsizeMode* ellipsize) override;
    int GetAlignment(QVLayoutAlignment* alignment) override;
    void SetIndent(int pixels) override;
    int GetIndent(int* pixels) override;
    void SetLineSpacing(unsigned int pixels) override;
    int GetLineSpacing(unsigned int* pixels) override;
    void SetJustify(int justify) override;
    void SetSingleParagraphMode(int single) override;
    int GetJustify(int* justify) override;
    int GetSingleParagraphMode(int* single) override;
    int GetLineCount(unsigned int* count) override;
    int GetPageCount(unsigned int* count) override;
    int GetLineTable(QVLayoutLineInfo** table, unsigned int* count) override;
    int DrawPageFromPageNo(unsigned int page, QV_IMAGE image, int x, int y) override;
    int DrawPageFromLineNo(unsigned int line, QV_IMAGE image, int x, int y) override;

    // Says that the text last set begins inside a paragraph (not 0), so that its first line gets no
    // first-line indent. SetText goes back to 0: the text begins a paragraph.
    void SetTextContinues(int continues);

    // Lays the text out, builds the line table and counts the pages; none without text or memory.
    void DoLayout();

    // Drops the lines and the line table; both counts become 0.
    void ClearPages();

    // Both read the line table as it stands, without building it.
    // The first line of a page, or -1 past the last page. Page 0 begins at line 0 in any case.
    int GetPageStartingLine(int page);
    // The last line that fits on a page that begins at `line`: line - 1 when that line is taller
    // than a page, the last line of the text when `line` is past it.
    int GetPageEndLine(int line);

    // Renders the text that Pango holds, its top left corner at pixel (x, y) of the image: after a
    // page was drawn that page's, after DoLayout the whole text. Returns 0 without memory, else 1.
    int DrawTarget(QV_IMAGE image, int x, int y);

protected:
    template<typename Value>
    UMDFORMAT_HIDDEN void Set(void (*setter)(PangoLayout*, Value), int value);

    unsigned int m_nLayoutWidth;
    unsigned int m_nLayoutHeight;
    unsigned int m_nPageCount = 0;
    unsigned int m_nLineCount = 0;
    std::unique_ptr<QVLayoutLineInfo[]> m_pLineTable; // null while no layout has been computed
    GObjectPtr<PangoFontMap> m_pFontMap;
    GObjectPtr<PangoContext> m_pContext;
    GObjectPtr<PangoLayout> m_pLayout; // null in an inert object
    std::unique_ptr<char[]> m_pText;   // UTF-8, not terminated
    int m_nTextLength = 0;             // bytes
};

static_assert(sizeof(void*) != 4 || sizeof(CPangoLayout) == 44);

} // namespace QvFormat
