#include "Image.h"

#include <cerrno>
#include <cstdio>
#include <filesystem>

#include <png.h>

#include "common/Failure.h"

namespace umdview {

using namespace umdhost;

namespace {

bool WritePng(std::FILE* file, const Image& image) {
    png_image header{};
    header.version = PNG_IMAGE_VERSION;
    header.width = image.width;
    header.height = image.height;
    header.format = PNG_FORMAT_GRAY;
    return png_image_write_to_stdio(&header, file, 0, image.pixels.data(), 0, nullptr) != 0;
}

bool WritePgm(std::FILE* file, const Image& image) {
    return std::fprintf(file, "P5\n%u %u\n255\n", image.width, image.height) > 0 &&
           std::fwrite(image.pixels.data(), 1, image.pixels.size(), file) == image.pixels.size();
}

} // namespace

void WriteImage(const std::string& path, const Image& image) {
    const std::string temporary = path + ".part";
    std::FILE* file = std::fopen(temporary.c_str(), "wb");
    if (file == nullptr)
        throw Failure(path, SystemReason(errno));
    const bool isPgm = std::filesystem::path(path).extension() == ".pgm";
    const bool written = isPgm ? WritePgm(file, image) : WritePng(file, image);
    // Only when the file is closed is it known whether all bytes were taken.
    if (std::fclose(file) == 0 && written && std::rename(temporary.c_str(), path.c_str()) == 0)
        return;
    const int error = errno;
    std::remove(temporary.c_str());
    throw Failure(path, SystemReason(error));
}

} // namespace umdview
