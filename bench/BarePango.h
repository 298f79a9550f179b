#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include <pango/pangoft2.h>

namespace bench {

constexpr int kWidth = 600; // pixels, of the layout and of the image
constexpr int kHeight = 800;

using Image = std::vector<unsigned char>; // kWidth * kHeight bytes of coverage

// The bytes of one screen. The first `continued` of them go on with a paragraph begun before it.
struct Page {
    std::string text;
    std::size_t continued = 0;
};

// What the reader's layout does, by Pango calls alone: the yardstick.
class BarePango {
public:
    BarePango();

    // Lays a text out and asks every line for its height. Returns the lines' height in Pango units.
    int LayOut(const char* text, int length);

    void Draw(const std::string& text, Image& image, int y = 0);

    // In the parts that the library draws a page in, for comparing images.
    void DrawInParts(const Page& page, Image& image);

private:
    std::unique_ptr<PangoFontMap, void (*)(gpointer)> m_pFontMap;
    std::unique_ptr<PangoContext, void (*)(gpointer)> m_pContext;
    std::unique_ptr<PangoLayout, void (*)(gpointer)> m_pLayout;
};

} // namespace bench
