#include "RecordDecoder.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "QvpNodeType.h"

namespace umdview {

using namespace QvFormat;

namespace {

constexpr std::size_t kTagBytes = 50;
constexpr std::size_t kPlaceBytes = 9; // bookmark type, block index, offset

using Field = std::pair<const char*, Json (*)(DataReader&)>; // its name, and how it is read
using Fields = std::vector<Field>;                           // in the order of their bytes

Json ReadFields(DataReader& data, const Fields& fields) {
    Json values;
    for (const auto& [name, read] : fields)
        values[name] = read(data);
    return values;
}

// --- what a field may be; null: what the library finds nothing in -------------------------------

Json Byte(DataReader& data) {
    return data.Byte();
}

Json Flag(DataReader& data) {
    return data.Byte() != 0;
}

Json Number(DataReader& data) {
    return data.Integer();
}

Json SignedNumber(DataReader& data) {
    return static_cast<std::int32_t>(data.Integer());
}

Json String(DataReader& data) {
    return data.String();
}

// A string that ends somewhere in its room.
Json StringIn(std::string_view room) {
    const std::size_t end = room.find('\0');
    return end == std::string_view::npos ? Json(nullptr) : Json(room.substr(0, end));
}

Json Tag(DataReader& data) {
    return StringIn(data.Take(kTagBytes));
}

std::string_view TakeSlot(DataReader& data) {
    const std::uint32_t capacity = data.Integer();
    if (capacity == 0)
        throw DataReader::CutOff();
    return data.Take(capacity);
}

Json StringSlot(DataReader& data) {
    return StringIn(TakeSlot(data));
}

// The first field of an annotation, after a bookmark type of which 0 is the only one.
Json Block(DataReader& data) {
    const bool known = data.Byte() == 0;
    const Json block = data.Integer();
    return known ? block : Json(nullptr);
}

Json BookmarkSlot(DataReader& data) {
    DataReader slot(TakeSlot(data));
    if (slot.Left() < kPlaceBytes)
        return nullptr;
    Json place = ReadFields(slot, {{"block", Block}, {"offset", Number}});
    return place["block"].is_null() ? Json(nullptr) : place;
}

// --- records ------------------------------------------------------------------------------------

// A type of records, and the fields of a list's entry or of book information.
struct Layout {
    std::string name;
    Fields fields;
};

const Layout& LayoutOf(std::uint32_t type) {
    static const Layout layouts[] = {
        {"free", {}},
        {"book information",
         {{"bookName", StringSlot},
          {"author", StringSlot},
          {"coverPagePath", StringSlot},
          {"publisher", StringSlot},
          {"isbn", StringSlot},
          {"summary", StringSlot},
          {"bookSource", Byte},
          {"readingProgress", Number},
          {"readingBookmark", BookmarkSlot},
          {"serialized", Flag},
          {"latestSection", StringSlot}}},
        {"path table", {{"value0", Number}, {"value1", Number}, {"path", String}}},
        {"index list", {{"number", SignedNumber}}},
        {"tag list", {{"tag", Tag}}},
        {"positions", {{"block", Block}, {"offset", Number}}},
        {"ranges", {{"block", Block}, {"offset", Number}, {"length", Number}}},
        {"comments",
         {{"block", Block}, {"offset", Number}, {"length", Number}, {"comment", String}}},
        {"unknown", {}}};
    constexpr std::uint32_t unknown = QvpNodeCommentAnnotations + 1;
    return layouts[std::min(type, unknown)];
}

// Reads the count of the entries and each entry. An entry of one field is that field. One that
// begins with null is passed over, as by the library.
Json ReadList(DataReader& data, const Fields& fields, std::string* wrong) {
    const std::uint32_t count = data.Integer();
    Json entries = Json::array();
    try {
        for (std::uint32_t left = count; left > 0; --left) {
            Json entry = ReadFields(data, fields);
            if (!entry.front().is_null())
                entries.push_back(fields.size() == 1 ? entry.front() : entry);
        }
    } catch (const DataReader::CutOff&) {
        // The record holds fewer entries than it says.
    }
    if (entries.size() != count)
        *wrong = "it should hold " + std::to_string(count) + " entries, of which " +
                 std::to_string(entries.size()) + " can be read";
    return entries;
}

Json ReadContent(DataReader data, bool isList, const Fields& fields, std::string* wrong) {
    try {
        return isList ? ReadList(data, fields, wrong) : ReadFields(data, fields);
    } catch (const DataReader::CutOff&) {
        *wrong = isList
                     ? "it is too short for a list"
                     : "its fields do not fit into it; the library neither reads nor replaces it";
        return nullptr;
    }
}

} // namespace

Json TakeRecord(DataReader& file, std::size_t offset, std::string* wrong) {
    const std::uint32_t type = file.Byte();
    const auto& [name, fields] = LayoutOf(type);
    Json json = {{"offset", offset}, {"type", type}, {"name", name}, {"id", file.Integer()}};
    const std::uint32_t length = file.Integer();
    json["length"] = length;
    const std::string_view data = file.Take(std::min<std::size_t>(length, file.Left()));
    if (data.size() < length)
        *wrong = "it is cut off; " + std::to_string(length - data.size()) + " of its " +
                 std::to_string(length) + " bytes are missing";
    else if (length > 0 && !fields.empty())
        json["content"] = ReadContent(DataReader(data), type != QvpNodeBookInfo, fields, wrong);
    return json;
}

} // namespace umdview
