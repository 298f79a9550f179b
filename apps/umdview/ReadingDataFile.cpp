#include "ReadingDataFile.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string_view>

#include "common/Book.h"
#include "common/Failure.h"
#include "common/SavedPlace.h"

namespace umdview {

using namespace umdhost;

namespace {

constexpr std::string_view kMagic = "QVP";

bool IsFile(const std::string& path) {
    std::error_code error;
    return std::filesystem::is_regular_file(path, error);
}

bool BeginsLikeReadingData(const std::string& path) {
    char begin[kMagic.size()] = {};
    std::ifstream(path, std::ios::binary).read(begin, sizeof(begin));
    return std::string_view(begin, sizeof(begin)) == kMagic;
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

} // namespace

std::uint32_t ReadingDataFile::IntegerAt(long at) const {
    std::uint32_t value = 0;
    for (long i = 3; i >= 0; --i)
        value = value << 8 | bytes[static_cast<std::size_t>(at + i)];
    return value;
}

bool ReadingDataFile::RecordAt(std::int64_t at, Record* record) const {
    const auto room = static_cast<std::int64_t>(bytes.size()) - at - kRecordHeaderBytes;
    if (room < 0)
        return false;
    const auto offset = static_cast<long>(at);
    const std::uint32_t length = IntegerAt(offset + 5);
    const auto missing = static_cast<std::uint32_t>(std::max<std::int64_t>(length - room, 0));
    *record = {offset, bytes[static_cast<std::size_t>(at)], IntegerAt(offset + 1), length, missing};
    return true;
}

ReadingDataFile ReadReadingData(const std::string& path) {
    ReadingDataFile file;
    file.path = Find(path);
    CheckFile(file.path);
    if (!BeginsLikeReadingData(file.path))
        throw Failure(file.path, "not a reading-data file");
    std::ifstream stream(file.path, std::ios::binary);
    file.bytes.assign(std::istreambuf_iterator<char>(stream), {});
    if (file.bytes.size() < ReadingDataFile::kHeaderBytes)
        throw Failure(file.path, "damaged: its header is cut off");
    return file;
}

} // namespace umdview
