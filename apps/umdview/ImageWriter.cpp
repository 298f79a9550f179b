#include "ImageWriter.h"

#include <cerrno>
#include <cstdio>
#include <memory>

#include <png.h>

#include "common/Failure.h"

namespace umdview {

using namespace umdhost;

namespace {

using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

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

// Closes the file too: only then is it known whether all bytes were taken.
bool WriteAndClose(File file, const Image& image, ImageFormat format) {
    const bool written =
        format == ImageFormat::Png ? WritePng(file.get(), image) : WritePgm(file.get(), image);
    const int error = errno;
    const bool closed = std::fclose(file.release()) == 0;
    if (!written)
        errno = error;
    return written && closed;
}

[[noreturn]] void StopWriting(const std::string& path, const std::string& temporary, int error) {
    std::remove(temporary.c_str());
    throw Failure(path, error != 0 ? SystemReason(error) : "the image cannot be written");
}

} // namespace

const char* NameOf(ImageFormat format) {
    return format == ImageFormat::Png ? "png" : "pgm";
}

void WriteImage(const std::string& path, const Image& image, ImageFormat format) {
    const std::string temporary = path + ".part";
    errno = 0;
    File file(std::fopen(temporary.c_str(), "wb"), std::fclose);
    if (file == nullptr)
        throw Failure(path, SystemReason(errno));
    if (!WriteAndClose(std::move(file), image, format) ||
        std::rename(temporary.c_str(), path.c_str()) != 0)
        StopWriting(path, temporary, errno);
}

} // namespace umdview
