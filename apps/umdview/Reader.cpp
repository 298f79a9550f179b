#include "Reader.h"

#include <memory>
#include <new>

#include "base/CFileStream.h"
#include "common/Book.h"
#include "layout/CPangoLayout.h"

namespace umdview {

using namespace QvFormat;
using namespace umdhost;

namespace {

constexpr unsigned int dotsPerInch = 72; // a font's points are pixels then

std::unique_ptr<ITextLayout> NewLayout(const Look& look) {
    auto layout =
        std::make_unique<CPangoLayout>(look.font.c_str(), look.width - 2 * look.margin,
                                       look.height - 2 * look.margin, dotsPerInch, dotsPerInch);
    layout->SetWrap(QVLayoutWrapWordChar); // else a word longer than a line runs off the screen
    layout->SetLineSpacing(look.lineSpacing);
    return layout;
}

} // namespace

Reader::Reader(const std::string& path, const Look& look, bool keepsPlace) {
    CheckFile(path);
    auto stream = std::make_unique<CFileStream>(
        reinterpret_cast<const unsigned char*>(path.c_str()), FileOpenRead);
    auto layout = NewLayout(look);
    std::string beside = keepsPlace ? path : ""; // without a name there is no reading data
    m_renderer.SetFontSize(look.letterSize);
    // Stream and layout are the renderer's from here on.
    const QVRESULT result =
        m_renderer.Initialize(stream.release(), layout.release(), beside.data());
    if (result == QV_E_OUTOFMEMORY)
        throw std::bad_alloc();
    if (result != QV_S_OK)
        ExplainRefusal(path);
}

int Reader::Block() {
    int block = 0, offset = 0;
    m_renderer.GetCurPosition(&block, &offset);
    return block;
}

bool Reader::GoTo(float fraction) {
    return m_renderer.GotoPosition(fraction) == QV_S_OK;
}

bool Reader::GoTo(const Place& place) {
    return m_renderer.UmdSetText(static_cast<int>(place.block), static_cast<int>(place.offset)) !=
           0;
}

// The library loads the text at the saved place with the first drawing, of whatever size.
bool Reader::ShowSavedPlace() {
    Image scratch(1, 1, 0);
    return m_renderer.DrawCurScreen(scratch.View(), 0, 0) == QV_S_OK;
}

bool Reader::TurnPage() {
    return m_renderer.GotoNextScreen() == QV_S_OK;
}

bool Reader::PassOver(int block, int* bytes) {
    return m_renderer.GotoReadableScreen(block, 1, bytes) == QV_S_OK;
}

void Reader::Draw(Image& image) {
    image.Clear();
    m_renderer.DrawCurScreen(image.View(), 0, 0);
    image.Invert();
}

} // namespace umdview
