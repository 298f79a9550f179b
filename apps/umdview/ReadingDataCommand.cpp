#include "ReadingDataCommand.h"

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

// Builds the document; what is damaged is told at its end, and where it is met.
class Document {
public:
    explicit Document(const ReadingDataFile& file) {
        m_json = {{"file", file.path},
                  {"version", file.bytes[3]},
                  {"revision", file.bytes[4]},
                  {"size", file.bytes.size()},
                  {"records", Json::array()}};
        for (const Record& record : file.records)
            Add(file, record);
        if (file.bytesLeft > 0)
            m_damage.push_back(std::to_string(file.bytesLeft) + " bytes at the end are no record");
        m_json["liveRecords"] = m_nLive;
        m_json["freeRecords"] = file.records.size() - m_nLive;
        m_json["deadBytes"] = m_nDeadBytes; // without the headers of free records
        m_json["damage"] = m_damage;
    }

    const Json& Root() const { return m_json; }
    const Json& Damage() const { return m_damage; }

private:
    void Add(const ReadingDataFile& file, const Record& record) {
        Json json = {{"offset", record.offset},
                     {"type", record.type},
                     {"name", NameOf(record.type)},
                     {"id", record.id},
                     {"length", record.length}};
        if (record.type == QvpNodeFree)
            m_nDeadBytes += record.length - record.missing;
        else
            ++m_nLive;
        if (const std::string wrong = AddContent(json, file, record); !wrong.empty())
            m_damage.push_back("record at offset " + std::to_string(record.offset) + ", " +
                               NameOf(record.type) + ": " + wrong);
        m_json["records"].push_back(std::move(json));
    }

    // Returns what is wrong with the record.
    std::string AddContent(Json& json, const ReadingDataFile& file, const Record& record) {
        if (record.missing > 0)
            return "it is cut off; " + std::to_string(record.missing) + " of its " +
                   std::to_string(record.length) + " bytes are missing";
        if (record.type == QvpNodeFree)
            return "";
        std::string wrong;
        Json content = DecodeRecord(file, record, &wrong);
        if (!content.is_null())
            json["content"] = std::move(content);
        // Of book information the library uses the first record only.
        if (record.type == QvpNodeBookInfo && !m_idsWithInfo.insert(record.id).second)
            return "another one of this file id comes before it";
        return wrong;
    }

    Json m_json;
    Json m_damage = Json::array();
    std::size_t m_nLive = 0;
    std::uint64_t m_nDeadBytes = 0;
    std::set<std::uint32_t> m_idsWithInfo;
};

// --- for people: a line for what is simple, deeper lines for what it holds ----------------------

std::string Dump(const Json& json, int indent = -1) {
    return json.dump(indent, ' ', false, Json::error_handler_t::replace);
}

bool IsSimple(const Json& json) {
    return !json.is_structured();
}

// Strings stand in quotes, with escapes, so that their ends can be seen.
std::string Simple(const Json& json) {
    return json.is_null() ? "-" : ForTerminal(Dump(json));
}

void WriteMembers(const Json& object, const std::string& indent);

// The elements that are simple on one line; each other one begins with a line of what is simple.
void WriteElements(const Json& array, const std::string& indent) {
    std::string line;
    for (const Json& element : array) {
        if (IsSimple(element)) {
            line += (line.empty() ? indent : ", ") + Simple(element);
            continue;
        }
        std::string first;
        Json rest = Json::object();
        for (const auto& [key, value] : element.items()) {
            if (IsSimple(value))
                first += (first.empty() ? "" : ", ") + key + " " + Simple(value);
            else
                rest[key] = value;
        }
        WriteOut(indent + first + "\n");
        WriteMembers(rest, indent + "  ");
    }
    if (!line.empty())
        WriteOut(line + "\n");
}

void WriteMembers(const Json& object, const std::string& indent) {
    for (const auto& [key, value] : object.items()) {
        if (IsSimple(value) || value.empty()) {
            WriteOut(indent + key + ": " + (value.empty() ? "-" : Simple(value)) + "\n");
            continue;
        }
        WriteOut(indent + key + ":\n");
        if (value.is_array())
            WriteElements(value, indent + "  ");
        else
            WriteMembers(value, indent + "  ");
    }
}

} // namespace

int RunReadingData(const std::string& path, bool json) {
    const ReadingDataFile file = ReadReadingData(path);
    const Document document(file);
    if (json)
        WriteOut(Dump(document.Root(), 2) + "\n");
    else
        WriteMembers(document.Root(), "");
    FlushOut();
    for (const std::string damage : document.Damage())
        Report(file.path, "damaged: " + damage);
    return document.Damage().empty() ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace umdview
