// The shortest way: the library's own layout and paging. Draws each screen of a book to the end,
// and writes the last one as a PGM image:
//   factory BOOK IMAGE.pgm
#include <cstdio>
#include <memory>
#include <vector>

#include "CreateFormatRenderInstance.h"

namespace {

using namespace QvFormat;

constexpr int kWidth = 480;
constexpr int kHeight = 640;

// Dark ink on white.
std::vector<unsigned char> Draw(IFormatRender& book) {
    std::vector<unsigned char> pixels(std::size_t{kWidth} * kHeight,
                                      0); // drawing adds to what is there
    book.DrawCurScreen({0, pixels.data(), kHeight, kWidth, kWidth}, 0, 0);
    for (unsigned char& pixel : pixels)
        pixel = static_cast<unsigned char>(255 - pixel);
    return pixels;
}

bool WriteImage(const char* path, const std::vector<unsigned char>& pixels) {
    std::FILE* file = std::fopen(path, "wb");
    if (!file)
        return false;
    std::fprintf(file, "P5\n%d %d\n255\n", kWidth, kHeight);
    const bool written = std::fwrite(pixels.data(), 1, pixels.size(), file) == pixels.size();
    return std::fclose(file) == 0 && written;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3)
        return 2;
    IFormatRender* opened = nullptr;
    if (CreateFormatRenderInstance(argv[1], &opened) != QV_S_OK) {
        std::fprintf(stderr, "%s cannot be read\n", argv[1]);
        return 1;
    }
    const std::unique_ptr<IFormatRender> book(opened); // its end keeps the place
    book->SetScreenRes(kWidth, kHeight);
    book->GotoPosition(0.0F);
    std::vector<unsigned char> pixels = Draw(*book);
    int screens = 1;
    for (; book->GotoNextScreen() == QV_S_OK; ++screens)
        pixels = Draw(*book);
    std::printf("%d screens\n", screens);
    return WriteImage(argv[2], pixels) ? 0 : 1;
}
