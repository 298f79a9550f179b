#pragma once

#include "QvExport.h"
#include "QvRecords.h"

namespace QvFormat {

// How a line's text stands between the margins.
enum QVLayoutAlignment : int {
    QVLayoutAlignLeft = 0,
    QVLayoutAlignCenter = 1,
    QVLayoutAlignRight = 2,
};

// Where a line may be broken.
enum QVLayoutWrapMode : int {
    QVLayoutWrapWord = 0,
    QVLayoutWrapChar = 1,
    QVLayoutWrapWordChar = 2, // between words, inside one only where it is wider than the layout
};

// What happens to a paragraph wider than the layout: nothing, or it is cut to one line and an
// ellipsis stands for the part that is left out.
enum QVLayoutEllipsizeMode : int {
    QVLayoutEllipsizeNone = 0,
    QVLayoutEllipsizeStart = 1,
    QVLayoutEllipsizeMiddle = 2,
    QVLayoutEllipsizeEnd = 3,
};

// Breaks a run of UTF-8 text into lines of a pixel width, cuts the lines into pages of a pixel
// height and draws a page into the caller's image.
//
// One thread at a time may call it; two layouts in two threads may share state of the font stack
// under Pango. Strings that are passed in are copied; what a caller owns is said at the operation.
//
// All lengths are pixels; indices count from 0. Operations that answer or draw return 1 for success
// and 0 for failure; a null out-pointer is a failure (GetLayoutRect excepted). Setters ignore an
// argument they refuse, and a value that is none of an enumeration's counts as its 0.
//
// The order of the operations is that of their virtual slots: part of the binary interface.
class UMDFORMAT_API ITextLayout {
public:
    virtual ~ITextLayout();

    // The size of a page. Zero in either is refused.
    virtual void SetLayoutRect(unsigned int width, unsigned int height) = 0;
    // Either pointer may be null.
    virtual int GetLayoutRect(unsigned int* width, unsigned int* height) = 0;

    // Copies `length` bytes of UTF-8; with a length below 1, all bytes before the terminator. Null
    // is ignored.
    virtual void SetText(const char* text, int length) = 0;

    // A font description such as "Serif 18": family, and size in points. Null is ignored.
    virtual void SetFontDescription(const char* description) = 0;

    // Where lines break, what becomes of paragraphs that are too wide, and where lines stand.
    virtual void SetWrap(QVLayoutWrapMode wrap) = 0;
    virtual void SetEllipsize(QVLayoutEllipsizeMode ellipsize) = 0;
    virtual void SetAlignment(QVLayoutAlignment alignment) = 0;
    virtual int GetWrap(QVLayoutWrapMode* wrap) = 0;
    virtual int GetEllipsize(QVLayoutEllipsizeMode* ellipsize) = 0;
    virtual int GetAlignment(QVLayoutAlignment* alignment) = 0;

    // Indent of a paragraph's first line; a negative one indents all lines but the first.
    virtual void SetIndent(int pixels) = 0;
    virtual int GetIndent(int* pixels) = 0;

    // Space between two lines.
    virtual void SetLineSpacing(unsigned int pixels) = 0;
    virtual int GetLineSpacing(unsigned int* pixels) = 0;

    // Flags: stretch lines to the full width; take paragraph separators for ordinary characters.
    virtual void SetJustify(int justify) = 0;
    virtual void SetSingleParagraphMode(int single) = 0;
    virtual int GetJustify(int* justify) = 0;
    virtual int GetSingleParagraphMode(int* single) = 0;

    // Lines and pages of the whole text; 0 without text.
    virtual int GetLineCount(unsigned int* count) = 0;
    virtual int GetPageCount(unsigned int* count) = 0;

    // A copy of the line table, in line order. The caller owns it and releases it with delete[];
    // later changes of the layout leave it alone. On failure (no lines, no memory) `*table` is null
    // and `*count` untouched.
    virtual int GetLineTable(QVLayoutLineInfo** table, unsigned int* count) = 0;

    // Draw page number `page`, or the page that begins at line number `line`. The image covers the
    // page from pixel (x, y) on; see QV_IMAGE for what drawing does to it. 0, with the image
    // untouched: no text, an index past the end, an image that is not valid or misses the page.
    virtual int DrawPageFromPageNo(unsigned int page, QV_IMAGE image, int x, int y) = 0;
    virtual int DrawPageFromLineNo(unsigned int line, QV_IMAGE image, int x, int y) = 0;
};

} // namespace QvFormat
