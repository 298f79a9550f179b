#pragma once

#include "QvExport.h"
#include "QvResult.h"

namespace QvFormat {

// Changes the type settings of the renderer it came from, from the same thread. The application
// owns it and releases it with delete before that renderer. Every operation: QV_S_OK, or
// QV_E_NOTREADY when it belongs to no renderer.
class UMDFORMAT_API ITextCustomizer {
public:
    virtual ~ITextCustomizer();

    // Keep a font family's name, which is copied; an empty one is ignored. The text keeps its font:
    // a host chooses another one through the layout it makes itself, see render/CUMDRenderImpl.h.
    // QV_E_INVALIDARG: null name.
    virtual QVRESULT SetChineseFont(char const* name) = 0;
    virtual QVRESULT SetEnglishFont(char const* name) = 0;

    // Sets the first-line indent of paragraphs to twice the size, in pixels; the letters keep their
    // size. The screen shown keeps its first character and is laid out anew when it is next drawn
    // or left.
    virtual QVRESULT SetFontSize(unsigned int size) = 0;
};

} // namespace QvFormat
