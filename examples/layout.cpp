// A layout of the host's own: its font, its spacing, a margin, and the next turn prepared while the
// reader reads. Draws two screens of a book and says what a turn costs then:
//   layout BOOK
#include <chrono>
#include <cstdio>
#include <memory>
#include <vector>

#include "base/CFileStream.h"
#include "layout/CPangoLayout.h"
#include "render/CUMDRenderImpl.h"

namespace {

using namespace QvFormat;

constexpr int kWidth = 600;
constexpr int kHeight = 800;
constexpr int kMargin = 40;

std::unique_ptr<CPangoLayout> MakeLayout() {
    auto layout = std::make_unique<CPangoLayout>("fzlth 24", kWidth - 2 * kMargin,
                                                 kHeight - 2 * kMargin, 72, 72);
    layout->SetWrap(QVLayoutWrapWordChar); // an address is to be read to its end
    layout->SetLineSpacing(6);
    layout->SetJustify(1);
    return layout;
}

// The image's middle, in rows of the whole image, so that the margin stays clear.
long DrawInkInMiddle(CUMDRenderImpl& book) {
    std::vector<unsigned char> pixels(std::size_t{kWidth} * kHeight, 0);
    unsigned char* corner = pixels.data() + std::ptrdiff_t{kMargin} * kWidth + kMargin;
    book.DrawCurScreen({0, corner, kHeight - 2 * kMargin, kWidth - 2 * kMargin, kWidth}, 0, 0);
    long ink = 0;
    for (const unsigned char pixel : pixels)
        ink += pixel;
    return ink;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2)
        return 2;
    CUMDRenderImpl book;
    auto stream =
        std::make_unique<CFileStream>(reinterpret_cast<unsigned char*>(argv[1]), FileOpenRead);
    char noReadingData[] = ""; // the place is the host's own business
    if (book.Initialize(stream.release(), MakeLayout().release(), noReadingData) != QV_S_OK)
        return 1;
    book.SetFontSize(24); // the indent is two letters

    const long first = DrawInkInMiddle(book);
    book.PrepareNextScreen(); // when the screen is shown and there is time
    const auto begin = std::chrono::steady_clock::now();
    const bool turned = book.GotoNextScreen() == QV_S_OK;
    const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - begin;
    const long second = DrawInkInMiddle(book);
    std::printf("ink of %ld and %ld grey levels, turned in %.3f ms\n", first, second, took.count());
    return turned && first > 0 && second > 0 ? 0 : 1;
}
