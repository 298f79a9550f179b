#include "ReadingDataFile.h"

#include <algorithm>
#include <climits>
#include <filesystem>
#include <string_view>

#include "base/CFileStream.h"
#include "common/Book.h"
#include "common/Failure.h"
#include "common/SavedPlace.h"

namespace umdview {

using namespace QvFormat;
using namespace umdhost;

namespace {

constexpr std::string_view magic = "QVP";

bool IsFile(const std::string& path) {
    std::error_code error;
    return std::filesystem::is_regular_file(path, error);
}

CFileStream OpenStream(const std::string& path) {
    return CFileStream(reinterpret_cast<const unsigned char*>(path.c_str()), FileOpenRead);
}

bool BeginsLikeReadingData(const std::string& path) {
    char begin[magic.size()] = {};
    OpenStream(path).Read(reinterpret_cast<unsigned char*>(begin), sizeof(begin), nullptr);
    return std::string_view(begin, sizeof(begin)) == magic;
}

// The file itself, or the one beside the book of that name.
std::string Find(const std::string& path) {
    std::string beside = ReadingDataPath(path);
    if (IsFile(path) && BeginsLikeReadingData(path))
        return path;
    if (IsFile(beside))
        return beside;
    CheckFile(path);
    throw Failure(path, "not a reading-data file, and there is no " + beside);
}

std::vector<unsigned char> ReadAll(const std::string& path) {
    CFileStream stream = OpenStream(path);
    long size = 0;
    stream.GetLength(&size);
    if (size < headerBytes)
        throw Failure(path, "damaged: its header is cut off");
    if (size > INT_MAX)
        throw Failure(path, "longer than the library reads");
    std::vector<unsigned char> bytes(static_cast<std::size_t>(size));
    int read = 0;
    stream.Read(bytes.data(), static_cast<int>(size), &read);
    if (read != size)
        throw Failure(path, "cannot be read at byte " + std::to_string(read));
    return bytes;
}

// Each record begins where the one before it ends.
void Scan(ReadingDataFile& file) {
    const auto size = static_cast<std::int64_t>(file.bytes.size());
    std::int64_t at = headerBytes;
    while (size - at >= recordHeaderBytes) {
        const auto offset = static_cast<long>(at);
        const int type = file.bytes[static_cast<std::size_t>(at)];
        const std::uint32_t length = IntegerAt(file.bytes, offset + 5);
        at += recordHeaderBytes + std::int64_t{length};
        const auto missing = static_cast<std::uint32_t>(std::max<std::int64_t>(at - size, 0));
        file.records.push_back({offset, type, IntegerAt(file.bytes, offset + 1), length, missing});
    }
    file.bytesLeft = static_cast<long>(std::max<std::int64_t>(size - at, 0));
}

} // namespace

std::uint32_t IntegerAt(const std::vector<unsigned char>& bytes, long at) {
    std::uint32_t value = 0;
    for (long i = 3; i >= 0; --i)
        value = value << 8 | bytes[static_cast<std::size_t>(at + i)];
    return value;
}

ReadingDataFile ReadReadingData(const std::string& path) {
    ReadingDataFile file;
    file.path = Find(path);
    CheckFile(file.path);
    if (!BeginsLikeReadingData(file.path))
        throw Failure(file.path, "not a reading-data file");
    file.bytes = ReadAll(file.path);
    Scan(file);
    return file;
}

} // namespace umdview
