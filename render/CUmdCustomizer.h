#pragma once

#include "ITextCustomizer.h"

namespace QvFormat {

class CUMDRenderImpl;

// Changes the type settings of one renderer, which it does not own and must not outlive. It is used
// by that renderer's thread.
class UMDFORMAT_API CUmdCustomizer : public ITextCustomizer {
public:
    // Null: every operation gives QV_E_NOTREADY.
    explicit CUmdCustomizer(CUMDRenderImpl* render);
    ~CUmdCustomizer() override;

    QVRESULT SetChineseFont(char const* name) override;
    QVRESULT SetEnglishFont(char const* name) override;
    QVRESULT SetFontSize(unsigned int size) override;

protected:
    CUMDRenderImpl* m_pRender;
};

static_assert(sizeof(CUmdCustomizer) == 2 * sizeof(void*));

} // namespace QvFormat
