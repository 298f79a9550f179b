#include "InfoCommand.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

#include <nlohmann/json.hpp>

#include "Output.h"
#include "common/Book.h"
#include "common/Failure.h"
#include "common/SavedPlace.h"
#include "common/TextSurvey.h"

namespace umdview {

using namespace umdhost;

namespace {

using Json = nlohmann::ordered_json;

Json ToJson(const BookStrings::Text& text) {
    return text ? Json(*text) : Json(nullptr);
}

// How far a place is into the book, in percent with one decimal; none outside of the book.
std::optional<double> Percent(const Place& place, const Book& book) {
    if (place.block >= book.BlockCount())
        return std::nullopt;
    const auto last = static_cast<double>(std::max<std::int64_t>(book.BlockCount() - 1, 1));
    return std::round(place.block / last * 1000) / 10;
}

Json PlaceToJson(const Book& book) {
    const std::optional<Place> place = ReadPlace(book.Path());
    if (!place)
        return nullptr;
    const std::optional<double> percent = Percent(*place, book);
    return {{"percent", percent ? Json(*percent) : Json(nullptr)},
            {"block", place->block},
            {"offset", place->offset}};
}

// "37.5 % (block 1024)"
std::string PlaceToText(const Book& book) {
    const std::optional<Place> place = ReadPlace(book.Path());
    if (!place)
        return "-";
    const std::string block = "block " + std::to_string(place->block);
    const std::optional<double> percent = Percent(*place, book);
    if (!percent)
        return block + ", which is outside of the book";
    char number[16];
    std::snprintf(number, sizeof(number), "%.1f", *percent);
    return number + (" % (" + block + ")");
}

Json ToJson(const Book& book, const TextSurvey& survey) {
    const BookStrings strings = book.Strings();
    Json json;
    json["file"] = book.Path();
    json["title"] = ToJson(strings.title);
    json["author"] = ToJson(strings.author);
    json["date"] = {{"year", ToJson(strings.year)},
                    {"month", ToJson(strings.month)},
                    {"day", ToJson(strings.day)}};
    json["genre"] = ToJson(strings.genre);
    json["publisher"] = ToJson(strings.publisher);
    json["vendor"] = ToJson(strings.vendor);
    json["chunks"] = book.ChunkCount();
    json["damagedChunks"] = survey.DamagedChunks();
    json["declaredBytes"] = book.DeclaredBytes();
    json["actualBytes"] = survey.Bytes();
    json["actualCharacters"] = survey.Characters();
    json["lengthsAgree"] = book.DeclaredBytes() == survey.Bytes();
    json["blocks"] = book.BlockCount();
    json["blockBytes"] = blockBytes;
    json["place"] = PlaceToJson(book);
    json["warnings"] = survey.Warnings();
    return json;
}

std::string Line(const std::string& name, const std::string& value) {
    std::string line = name + ":";
    line.resize(12, ' ');
    return line + ForTerminal(value) + "\n";
}

std::string Line(const std::string& name, const BookStrings::Text& text) {
    return Line(name, text.value_or("-"));
}

// Year, month and day as the book gives them, such as "2008-3-15".
BookStrings::Text Date(const BookStrings& strings) {
    BookStrings::Text date;
    for (const auto& part : {strings.year, strings.month, strings.day}) {
        if (part)
            date = date ? *date + "-" + *part : *part;
    }
    return date;
}

std::string ToLines(const Book& book, const TextSurvey& survey) {
    const BookStrings strings = book.Strings();
    return Line("Title", strings.title) + Line("Author", strings.author) +
           Line("Date", Date(strings)) + Line("Genre", strings.genre) +
           Line("Publisher", strings.publisher) + Line("Vendor", strings.vendor) +
           Line("Chunks", std::to_string(book.ChunkCount())) +
           Line("Declared", std::to_string(book.DeclaredBytes()) + " bytes of text") +
           Line("Actual", std::to_string(survey.Bytes()) + " bytes of text, " +
                              std::to_string(survey.Characters()) + " characters") +
           Line("Blocks", std::to_string(book.BlockCount()) + " of " + std::to_string(blockBytes) +
                              " bytes") +
           Line("Place", PlaceToText(book));
}

} // namespace

int RunInfo(const std::string& path, bool json) {
    const Book book(path);
    const TextSurvey survey(book);
    if (json)
        WriteOut(ToJson(book, survey).dump(2, ' ', false, Json::error_handler_t::replace) + "\n");
    else
        WriteOut(ToLines(book, survey));
    FlushOut();
    for (const std::string& warning : survey.Warnings())
        Report(path, "warning: " + warning);
    for (const int index : survey.DamagedChunks())
        Report(path, DamagedChunk(index, book.ChunkCount()));
    return survey.DamagedChunks().empty() ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace umdview
