#include "Reader.h"

#include <new>

#include "CreateFormatRenderInstance.h"
#include "ITextCustomizer.h"
#include "common/Book.h"
#include "common/Failure.h"

namespace umdview {

using namespace umdhost;

using namespace QvFormat;

Reader::Reader(const std::string& path, const std::string& openBy) : m_sPath(path) {
    CheckFile(path);
    IFormatRender* renderer = nullptr;
    const QVRESULT result = CreateFormatRenderInstance(openBy.c_str(), &renderer);
    m_pRenderer.reset(
        renderer); // ours from here on; deleting it saves the place and closes the book
    if (result == QV_E_OUTOFMEMORY)
        throw std::bad_alloc();
    if (result != QV_S_OK)
        ExplainRefusal(path);
}

void Reader::SetScreenSize(unsigned int width, unsigned int height) {
    if (m_pRenderer->SetScreenRes(width, height) != QV_S_OK)
        throw Failure(m_sPath, "the screen's size is refused");
}

void Reader::SetFontSize(unsigned int size) {
    ITextCustomizer* customizer = nullptr;
    if (m_pRenderer->GetTextCustomizer(&customizer) != QV_S_OK)
        throw Failure(m_sPath, "the font size cannot be set");
    // Ours too, and to be released before the renderer.
    const std::unique_ptr<ITextCustomizer> owner(customizer);
    owner->SetFontSize(size);
}

bool Reader::GoTo(float fraction) {
    return m_pRenderer->GotoPosition(fraction) == QV_S_OK;
}

// The library loads the text at the saved place with the first drawing, of whatever size.
void Reader::ShowSavedPlace() {
    Image scratch(1, 1);
    Draw(scratch);
}

bool Reader::TurnPage() {
    return m_pRenderer->GotoNextScreen() == QV_S_OK;
}

void Reader::Draw(Image& image) {
    image.Clear();
    m_pRenderer->DrawCurScreen(image.View(), 0, 0);
    image.Invert();
}

} // namespace umdview
