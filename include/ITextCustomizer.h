#pragma once

#include "QvExport.h"
#include "QvResult.h"

namespace QvFormat {

// Changes the type settings of the renderer it came from. The application owns it and must release
// it before that renderer. QV_E_NOTREADY: it belongs to no renderer.
class UMDFORMAT_API ITextCustomizer {
public:
    virtual ~ITextCustomizer();

    // Remember a font family's name, which is copied; an empty one is ignored.
    // QV_E_INVALIDARG: null name.
    virtual QVRESULT SetChineseFont(char const* name) = 0;
    virtual QVRESULT SetEnglishFont(char const* name) = 0;

    // Sets the font size in pixels: paragraphs are then indented by twice as much. The screen shown
    // keeps its first character and is laid out anew when it is next drawn or left.
    virtual QVRESULT SetFontSize(unsigned int size) = 0;
};

} // namespace QvFormat
