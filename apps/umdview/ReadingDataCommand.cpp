#include "Commands.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>

#include "Output.h"
#include "QvpNodeType.h"
#include "RecordDecoder.h"
#include "common/Book.h"
#include "common/Failure.h"
#include "common/SavedPlace.h"

namespace umdview {

using namespace QvFormat;
using namespace umdhost;

namespace {

constexpr std::string_view kMagic = "QVP";
constexpr std::size_t kHeaderBytes = 5; // the magic, version, revision

// `path` is the file's, or its book's.
std::string Find(const std::string& path) {
    std::error_code error;
    std::string beside = ReadingDataPath(path);
    return std::filesystem::exists(beside, error) ? beside : path;
}

std::string ReadBytes(const std::string& file, const std::string& path) {
    CheckFile(file);
    std::ifstream stream(file, std::ios::binary);
    std::string bytes(std::istreambuf_iterator<char>(stream), {});
    if (bytes.compare(0, kMagic.size(), kMagic) != 0)
        throw Failure(file, "not a reading-data file" +
                                (file == path ? ", and there is no " + ReadingDataPath(path) : ""));
    if (bytes.size() < kHeaderBytes)
        throw Failure(file, "damaged: its header is cut off");
    return bytes;
}

// Adds the records, what is damaged in them, and the bytes that free ones hold.
void AddRecords(Json& document, std::string_view bytes) {
    std::uint64_t deadBytes = 0;
    std::set<std::uint32_t> idsWithInfo;
    DataReader rest(bytes.substr(kHeaderBytes));
    while (rest.Left() >= kRecordHeaderBytes) {
        const std::size_t offset = bytes.size() - rest.Left();
        std::string wrong;
        const Json& record = document["records"].emplace_back(TakeRecord(rest, offset, &wrong));
        if (record["type"] == QvpNodeFree)
            deadBytes += bytes.size() - rest.Left() - offset - kRecordHeaderBytes;
        // Of book information the library uses the first record only.
        if (record["type"] == QvpNodeBookInfo && wrong.empty() &&
            !idsWithInfo.insert(record["id"].get<std::uint32_t>()).second)
            wrong = "another one of this file id comes before it";
        if (!wrong.empty())
            document["damage"].push_back("record at offset " + std::to_string(offset) + ", " +
                                         record["name"].get<std::string>() + ": " + wrong);
    }
    if (rest.Left() > 0)
        document["damage"].push_back(std::to_string(rest.Left()) +
                                     " bytes at the end are no record");
    document["deadBytes"] = deadBytes;
}

Json ToJson(const std::string& file, std::string_view bytes) {
    DataReader header(bytes.substr(kMagic.size()));
    Json document = {
        {"file", file},           {"version", header.Byte()}, {"revision", header.Byte()},
        {"size", bytes.size()},   {"deadBytes", 0},           {"records", Json::array()},
        {"damage", Json::array()}};
    AddRecords(document, bytes);
    return document;
}

// For people: a line for what is simple, deeper lines for what holds more. Strings stand in quotes,
// with escapes, so that their ends can be seen.
std::string ToLines(const Json& json, const std::string& indent) {
    std::string lines;
    for (const auto& [key, value] : json.items()) {
        lines.append(indent).append(json.is_array() ? "-" : key + ":");
        if (value.empty())
            lines += " -\n";
        else if (value.is_structured())
            lines += "\n" + ToLines(value, indent + "  ");
        else
            lines += " " + ForTerminal(Dump(value)) + "\n";
    }
    return lines;
}

} // namespace

int RunReadingData(const std::string& path, bool json) {
    const std::string file = Find(path);
    const Json document = ToJson(file, ReadBytes(file, path));
    WriteOut(json ? Dump(document, 2) + "\n" : ToLines(document, ""));
    for (const std::string damage : document["damage"])
        Report(file, "damaged: " + damage);
    return document["damage"].empty() ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace umdview
