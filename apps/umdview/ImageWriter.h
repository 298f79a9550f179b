#pragma once

#include <string>

#include "Image.h"

namespace umdview {

enum class ImageFormat { Png, Pgm };

// The format's name, which is also the ending of its files' names.
const char* NameOf(ImageFormat format);

// Writes the image to the file `path`, replacing it as a whole: whatever goes wrong, no
// half-written image stands there. Throws Failure when it cannot be written.
void WriteImage(const std::string& path, const Image& image, ImageFormat format);

} // namespace umdview
