#include "Reader.h"

#include <memory>
#include <new>

#include "common/Book.h"
#include "layout/CPangoLayout.h"

namespace umdview {

using namespace QvFormat;
using namespace umdhost;

namespace {

constexpr unsigned int kDotsPerInch = 72; // a font's points are pixels then

std::unique_ptr<ITextLayout> NewLayout(const Look& look) {
    auto layout =
        std::make_unique<CPangoLayout>(look.font.c_str(), look.width - 2 * look.margin,
                                       look.height - 2 * look.margin, kDotsPerInch, kDotsPerInch);
    layout->SetWrap(QVLayoutWrapWordChar); // else a word longer than a line runs off the screen
    layout->SetLineSpacing(look.lineSpacing);
    return layout;
}

} // namespace

Reader::Reader(const std::string& path, const Look& look) : m_look(look) {
    auto stream = OpenBookFile(path);
    auto layout = NewLayout(look);
    char noPath[] = ""; // else the renderer would keep the place of every look at the book
    m_renderer.SetFontSize(look.letterSize);
    // Stream and layout are the renderer's from here on.
    const QVRESULT result = m_renderer.Initialize(stream.release(), layout.release(), noPath);
    if (result == QV_E_OUTOFMEMORY)
        throw std::bad_alloc();
    if (result != QV_S_OK)
        ExplainRefusal(path);
}

Place Reader::Begin() {
    int block = 0, offset = 0;
    m_renderer.GetCurPosition(&block, &offset);
    return {static_cast<unsigned int>(block), static_cast<unsigned int>(offset)};
}

bool Reader::GoTo(const Place& place) {
    const int block = static_cast<int>(place.block);
    return Arrive(m_renderer.UmdSetText(block, static_cast<int>(place.offset)) != 0, block);
}

bool Reader::TurnPage() {
    return Arrive(m_renderer.GotoNextScreen() == QV_S_OK, -1);
}

bool Reader::Arrive(bool shown, int block) {
    m_nPassedOver = 0;
    return shown || m_renderer.GotoReadableScreen(block, 1, &m_nPassedOver) == QV_S_OK;
}

// The library draws into the middle of the image: fewer pixels of a row than lie between the
// beginnings of two rows. It adds ink to what it finds, so drawing begins with none.
Image Reader::Draw() {
    Image image{m_look.width, m_look.height, {}};
    image.pixels.resize(std::size_t{m_look.width} * m_look.height);
    const auto width = static_cast<std::int32_t>(m_look.width);
    const auto height = static_cast<std::int32_t>(m_look.height);
    const auto margin = static_cast<std::int32_t>(m_look.margin);
    unsigned char* first = image.pixels.data() + std::ptrdiff_t{margin} * (width + 1);
    m_renderer.DrawCurScreen({0, first, height - 2 * margin, width - 2 * margin, width}, 0, 0);
    for (unsigned char& pixel : image.pixels)
        pixel = static_cast<unsigned char>(255 - pixel); // 255 was full ink
    return image;
}

} // namespace umdview
