#pragma once

#include <limits>
#include <optional>
#include <string>

#include "ImageWriter.h"

namespace umdview {

// Screens from `first` to `last`, both included, counted from 1 at the position where drawing
// begins.
struct ScreenRange {
    static constexpr long unlimited = std::numeric_limits<long>::max();
    long first = 1;
    long last = 10;
};

struct RenderOptions {
    std::string book;
    std::string folder; // made when missing
    ScreenRange screens;
    unsigned int width = 600; // of a screen, pixels
    unsigned int height = 800;
    std::optional<unsigned int> fontSize;
    float position = 0; // fraction of the book
    // Begin at the saved place instead, and keep it at the last screen drawn. Else the reader's
    // place is neither used nor moved.
    bool resume = false;
    ImageFormat format = ImageFormat::Png;
};

// umdview render: draws screens of a book into image files and tells on standard output how many
// went where. Returns the exit status: 1 when damage kept screens from being shown.
int RunRender(const RenderOptions& options);

} // namespace umdview
