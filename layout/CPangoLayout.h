#pragma once

#include <memory>

#include "ITextLayout.h"
#include "layout/GObjectPtr.h"

typedef struct _PangoContext PangoContext;
typedef struct _PangoFontMap PangoFontMap;
typedef struct _PangoLayout PangoLayout;

namespace QvFormat {

// The layout on Pango with its FreeType backend. One thread at a time. Each object owns a font map,
// a context and a Pango layout, and a copy of its text.
//
// The line table is built, and the lines laid out, by the first query or drawing that needs them;
// every setter drops both. Lengths are pixels; Pango's own unit is 1/1024 pixel.
//
// However large an indent is set, each line keeps room for some letters, and the getter answers
// what was set. In the text a space stands in for U+0000, and an embedding for an isolate (U+2066
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

    // Says of the text last set that it begins inside a paragraph (1), so that its first line gets
    // no first-line indent. SetText goes back to 0: the text begins a paragraph.
    void SetTextContinues(int continues);

    // Builds the line table and counts the pages; without text or memory there is none.
    void DoLayout();

    // Drops the line table; lines and pages become 0.
    void ClearPages();

    // Both read the line table as it stands, without building it.
    // The first line of a page, or -1 past the last page. Page 0 begins at line 0 in any case.
    int GetPageStartingLine(int page);
    // The last line that fits on a page that begins at `line`: line - 1 when that line is taller
    // than a page, the last line of the text when `line` is past it.
    int GetPageEndLine(int line);

    // Renders the text that Pango holds, its top left corner at pixel (x, y) of the image: after a
    // page was drawn that page's, after DoLayout the whole text. Returns 1.
    int DrawTarget(QV_IMAGE image, int x, int y);

protected:
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
