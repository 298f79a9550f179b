#pragma once

#include "QvExport.h"
#include "QvRecords.h"
#include "QvResult.h"

namespace QvFormat {

class IPagingHandler;
class ITextCustomizer;
struct QV_CONTENT_MARK;

// One opened book: pages through it screen by screen and draws the screen shown. Obtained from
// CreateFormatRenderInstance.
//
// The font stack under all renderers shares state: use all renderers of a process from one thread,
// or hold a lock around every call. The lines of a few scripts, and which form a Han character
// takes, follow the process's locale; set it (setlocale, LC_CTYPE) before the first book is opened,
// to a UTF-8 locale of the language read, and leave it so, lest a book breaks its lines otherwise.
//
// The application owns the renderer and releases it with delete, after every customizer it obtained
// from it. Images stay the application's.
//
// A screen is the run of lines, from the first one shown, that fits into the layout's height. The
// order of the operations, and with it their virtual slots, is part of the binary interface.
class UMDFORMAT_API IFormatRender {
public:
    virtual ~IFormatRender();

    // The size of a screen in pixels; 600 by 800 at first. The next drawing or turn lays the text
    // out anew from the first character of the screen shown.
    // QV_S_OK. QV_E_INVALIDARG: width or height 0; nothing changes.
    virtual QVRESULT SetScreenRes(unsigned int width, unsigned int height) = 0;

    // Stores the size of a screen; either pointer may be null.
    // Returns 1 (not QV_S_OK) on success, 0 when there is no layout.
    virtual QVRESULT GetScreenRes(unsigned int* width, unsigned int* height) = 0;

    // Not provided: QV_E_NOTIMPL, `*level` untouched.
    virtual QVRESULT SetBoldLevel(int level) = 0;
    virtual QVRESULT GetBoldLevel(int* level) = 0;

    // Show the screen before or after the one shown. QV_E_FAIL: there is none, no screen has been
    // drawn yet, or the text there cannot be loaded; the screen stays. QV_E_NOTREADY: no book.
    virtual QVRESULT GotoPrevScreen() = 0;
    virtual QVRESULT GotoNextScreen() = 0;

    // Shows the screen that begins at a fraction of the book, 0.0 its first block of text to 1.0
    // its last. QV_E_INVALIDARG: outside that range, or not a number. QV_E_FAIL: no text can be
    // loaded.
    virtual QVRESULT GotoPosition(float fraction) = 0;

    // Draws the screen shown, which the image covers from pixel (x, y) of it on. What the image
    // covers outside the screen narrows what is drawn: with a negative x or y the screen still
    // begins in the image's top left corner, and so many columns or rows less of it are drawn. To
    // move it, pass a part of the image (buffer, width and height of that part, the whole image's
    // stride). The image is not cleared: clear it to 0 before, and invert it after for dark ink on
    // white. Always QV_S_OK; an image that is not valid (null buffer, a size of 0, width above
    // stride) stays untouched, and so it does when no text can be loaded.
    virtual QVRESULT DrawCurScreen(QV_IMAGE image, int x, int y) = 0;

    // Not provided: QV_E_NOTIMPL; `*render` is set to null when the pointer is given.
    virtual QVRESULT GetTextRenderForCurPage(IFormatRender** render) = 0;

    // Stores a new customizer of this renderer, which the application owns.
    // QV_E_POINTER: null pointer.
    virtual QVRESULT GetTextCustomizer(ITextCustomizer** customizer) = 0;

    // Not provided: QV_E_NOTIMPL, outputs untouched.
    virtual QVRESULT GetTOCMarks(QV_CONTENT_MARK** marks, int* count) = 0;

    // Not provided: QV_E_NOTIMPL; `*handler` is set to null when the pointer is given.
    virtual QVRESULT GetPagingHandler(IPagingHandler** handler) = 0;
};

} // namespace QvFormat
