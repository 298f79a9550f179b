#pragma once

#include <memory>
#include <string>

#include "IFormatRender.h"
#include "Image.h"

namespace umdview {

// One book open for reading: what an application does with the library, and nothing else.
class Reader {
public:
    // Opens the book at `path` by the name `openBy`, beside which the library keeps the place.
    // Throws Failure, saying what is wrong with the file, when the library refuses it.
    Reader(const std::string& path, const std::string& openBy);

    void SetScreenSize(unsigned int width, unsigned int height);
    void SetFontSize(unsigned int size);

    // Shows the screen at a fraction of the book, 0 its begin to 1 its end; false when the text
    // there is damaged.
    bool GoTo(float fraction);

    // Shows the screen at the place the library saved, which is where it begins by itself.
    void ShowSavedPlace();

    // Shows the next screen; false when there is none, or when its text is damaged.
    bool TurnPage();

    // Draws the screen shown into `image`, dark ink on white.
    void Draw(Image& image);

private:
    std::string m_sPath;
    std::unique_ptr<QvFormat::IFormatRender> m_pRenderer;
};

} // namespace umdview
