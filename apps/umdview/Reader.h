#pragma once

#include <string>

#include "Image.h"
#include "common/SavedPlace.h"
#include "render/CUMDRenderImpl.h"

namespace umdview {

// How screens are laid out. What stands here is what CreateFormatRenderInstance would give.
struct Look {
    unsigned int width = 600; // of a screen with its margins, pixels
    unsigned int height = 800;
    unsigned int margin = 0;       // on each side, pixels
    unsigned int lineSpacing = 0;  // between two lines, pixels
    std::string font = "fzlth 18"; // Pango's font description; sizes are pixels
    unsigned int letterSize = 18;  // the font's, by which paragraphs are indented twice
};

// One book open for reading: what an application does with the library, and nothing else. The
// renderer gets a layout of our own, because letters of another font or size, and space between
// the lines, are settings of the layout.
class Reader {
public:
    // Opens the book, and neither uses nor moves the place saved beside it. Throws Failure, saying
    // what is wrong with the file, when the library refuses it.
    Reader(const std::string& path, const Look& look);

    int BlockCount() { return m_renderer.GetBlockCount(); }
    umdhost::Place Begin(); // of the screen shown

    // Show the screen at a place, or after the one shown. Text that cannot be shown is passed over.
    // False when there is none after it.
    bool GoTo(const umdhost::Place& place);
    bool TurnPage();

    // The bytes of text that the last of these left out; when it failed, those up to the book's
    // end.
    int PassedOver() const { return m_nPassedOver; }

    // Lets the next turn be a quick one. For the time in which a reader looks at the screen.
    void PrepareTurn() { m_renderer.PrepareNextScreen(); }

    // The screen shown within its margins, dark ink on white.
    Image Draw();

private:
    // Ends a jump to a block, or a turn (`block` -1). Unless its screen is `shown`, the next one
    // that can be shown is.
    bool Arrive(bool shown, int block);

    const Look m_look;
    QvFormat::CUMDRenderImpl m_renderer;
    int m_nPassedOver = 0;
};

} // namespace umdview
