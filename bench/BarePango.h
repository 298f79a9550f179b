#pragma once

#include <memory>
#include <string>
#include <vector>

#include <pango/pangoft2.h>

namespace bench {

constexpr int kWidth = 600; // pixels, of the layout and of the image
constexpr int kHeight = 800;

using Image = std::vector<unsigned char>; // kWidth * kHeight bytes of coverage

// What the reader's layout does, by Pango calls alone: the yardstick.
class BarePango {
public:
    BarePango();

    // Lays a text out and asks every line for its height. Returns the text of the lines that fit on
    // the first screen.
    std::string LayOut(const std::string& text);

    void Draw(const std::string& text, Image& image);

private:
    std::unique_ptr<PangoFontMap, void (*)(gpointer)> m_pFontMap;
    std::unique_ptr<PangoContext, void (*)(gpointer)> m_pContext;
    std::unique_ptr<PangoLayout, void (*)(gpointer)> m_pLayout;
};

} // namespace bench
