#pragma once

#include <limits>
#include <string>

#include "ImageWriter.h"
#include "Reader.h"

namespace umdview {

// Screens from `first` to `last`, both included, counted from 1 where drawing begins.
struct ScreenRange {
    static constexpr long kUnlimited = std::numeric_limits<long>::max();
    long first = 1;
    long last = 10;
};

struct RenderOptions {
    std::string book;
    std::string folder; // made when missing
    ScreenRange screens;
    Look look;
    float position = 0; // fraction of the book
    long chapter = 0;   // where to begin instead, counted from 1; 0: at the position
    // Begin at the saved place instead, and keep it at the last screen drawn. Else the reader's
    // place is neither used nor moved.
    bool resume = false;
    ImageFormat format = ImageFormat::Png;
};

// umdview render: draws screens of a book into image files and tells on standard output how many
// went where. Returns the exit status: 1 when damage kept text from being shown.
int RunRender(const RenderOptions& options);

} // namespace umdview
