#include "render/CUmdCustomizer.h"

#include "render/CUMDRenderImpl.h"

namespace QvFormat {

CUmdCustomizer::CUmdCustomizer(CUMDRenderImpl* render) : m_pRender(render) {}

CUmdCustomizer::~CUmdCustomizer() = default;

QVRESULT CUmdCustomizer::SetChineseFont(char const* name) {
    if (!m_pRender)
        return QV_E_NOTREADY;
    if (!name)
        return QV_E_INVALIDARG;
    m_pRender->SetChineseFont(name);
    return QV_S_OK;
}

QVRESULT CUmdCustomizer::SetEnglishFont(char const* name) {
    if (!m_pRender)
        return QV_E_NOTREADY;
    if (!name)
        return QV_E_INVALIDARG;
    m_pRender->SetEnglishFont(name);
    return QV_S_OK;
}

QVRESULT CUmdCustomizer::SetFontSize(unsigned int size) {
    if (!m_pRender)
        return QV_E_NOTREADY;
    m_pRender->SetFontSize(size);
    return QV_S_OK;
}

} // namespace QvFormat
