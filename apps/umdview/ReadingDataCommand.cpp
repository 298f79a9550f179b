#include "Commands.h"

#include <cstdlib>
#include <set>

#include "Output.h"
#include "QvpNodeType.h"
#include "ReadingDataFile.h"
#include "RecordDecoder.h"

namespace umdview {

using namespace QvFormat;

namespace {

const char* NameOf(int type) {
    constexpr const char* names[] = {"free",     "book information", "path table", "index list",
                                     "tag list", "positions",        "ranges",     "comments"};
    return type <= QvpNodeCommentAnnotations ? names[type] : "unknown";
}

// The document, while it is built record by record.
struct Document {
    Json records = Json::array();
    Json damage = Json::array();
    std::uint64_t deadBytes = 0; // data of free records
    std::set<std::uint32_t> idsWithInfo;
};

// Adds what the library reads of a whole record, and returns what is wrong with it.
std::string AddContent(Document& document, const ReadingDataFile& file, const Record& record) {
    std::string wrong;
    Json content = DecodeRecord(file, record, &wrong);
    if (!content.is_null())
        document.records.back()["content"] = std::move(content);
    // Of book information the library uses the first record only.
    if (record.type == QvpNodeBookInfo && !document.idsWithInfo.insert(record.id).second)
        return "another one of this file id comes before it";
    return wrong;
}

void Add(Document& document, const ReadingDataFile& file, const Record& record) {
    document.records.push_back({{"offset", record.offset},
                                {"type", record.type},
                                {"name", NameOf(record.type)},
                                {"id", record.id},
                                {"length", record.length}});
    std::string wrong;
    if (record.missing > 0)
        wrong = "it is cut off; " + std::to_string(record.missing) + " of its " +
                std::to_string(record.length) + " bytes are missing";
    else if (record.type != QvpNodeFree)
        wrong = AddContent(document, file, record);
    if (!wrong.empty())
        document.damage.push_back("record at offset " + std::to_string(record.offset) + ", " +
                                  NameOf(record.type) + ": " + wrong);
    if (record.type == QvpNodeFree)
        document.deadBytes += record.length - record.missing;
}

Json ToJson(const ReadingDataFile& file) {
    Document document;
    Record record = {};
    std::int64_t at = ReadingDataFile::kHeaderBytes;
    for (; file.RecordAt(at, &record);
         at += ReadingDataFile::kRecordHeaderBytes + std::int64_t{record.length})
        Add(document, file, record);
    const std::int64_t left = static_cast<std::int64_t>(file.bytes.size()) - at;
    if (left > 0)
        document.damage.push_back(std::to_string(left) + " bytes at the end are no record");
    return {{"file", file.path},
            {"version", file.bytes[3]},
            {"revision", file.bytes[4]},
            {"size", file.bytes.size()},
            {"deadBytes", document.deadBytes},
            {"records", std::move(document.records)},
            {"damage", std::move(document.damage)}};
}

// For people: a line for what is simple, deeper lines for what holds more. Strings stand in quotes,
// with escapes, so that their ends can be seen.
void WriteIndented(const Json& json, const std::string& indent) {
    for (const auto& [key, value] : json.items()) {
        const std::string name = json.is_array() ? indent + "-" : indent + key + ":";
        if (value.empty()) {
            WriteOut(name + " -\n");
        } else if (value.is_structured()) {
            WriteOut(name + "\n");
            WriteIndented(value, indent + "  ");
        } else {
            WriteOut(name + " " + ForTerminal(Dump(value)) + "\n");
        }
    }
}

} // namespace

int RunReadingData(const std::string& path, bool json) {
    const ReadingDataFile file = ReadReadingData(path);
    const Json document = ToJson(file);
    if (json)
        WriteOut(Dump(document, 2) + "\n");
    else
        WriteIndented(document, "");
    for (const std::string damage : document["damage"])
        Report(file.path, "damaged: " + damage);
    return document["damage"].empty() ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace umdview
