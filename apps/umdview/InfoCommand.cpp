#include "Commands.h"

#include <cstdio>
#include <cstdlib>

#include "Output.h"
#include "common/Book.h"
#include "common/Chapters.h"
#include "common/SavedPlace.h"
#include "common/TextSurvey.h"

namespace umdview {

using namespace umdhost;

namespace {

template<typename Value>
Json ToJson(const std::optional<Value>& value) {
    return value ? Json(*value) : Json(nullptr);
}

Json ToJson(const std::optional<Place>& place, const Book& book) {
    if (!place)
        return nullptr;
    return {{"percent", ToJson(book.Percent(place->block))},
            {"block", place->block},
            {"offset", place->offset}};
}

Json ToJson(const std::vector<Chapter>& chapters, const Book& book) {
    Json json = Json::array();
    for (const Chapter& chapter : chapters)
        json.push_back({{"title", chapter.title},
                        {"textOffset", chapter.offset},
                        {"place", ToJson(chapter.place, book)}});
    return json;
}

Json ToJson(const Book& book, const TextSurvey& survey) {
    const BookStrings strings = book.Strings();
    return {{"file", book.Path()},
            {"title", ToJson(strings.title)},
            {"author", ToJson(strings.author)},
            {"date",
             {{"year", ToJson(strings.year)},
              {"month", ToJson(strings.month)},
              {"day", ToJson(strings.day)}}},
            {"genre", ToJson(strings.genre)},
            {"publisher", ToJson(strings.publisher)},
            {"vendor", ToJson(strings.vendor)},
            {"chunks", book.ChunkCount()},
            {"damagedChunks", survey.damagedChunks},
            {"declaredBytes", book.DeclaredBytes()},
            {"actualBytes", survey.bytes},
            {"actualCharacters", survey.characters},
            {"lengthsAgree", book.DeclaredBytes() == survey.bytes},
            {"blocks", book.BlockCount()},
            {"blockBytes", kBlockBytes},
            {"place", ToJson(ReadPlace(book.Path()), book)},
            {"chapters", ToJson(ReadChapters(book), book)},
            {"warnings", survey.warnings}};
}

// --- for people ---------------------------------------------------------------------------------

// "Title:      The Art of War"
std::string Line(const std::string& name, const std::string& value) {
    std::string line = name + ":";
    line.resize(12, ' ');
    return line + ForTerminal(value) + "\n";
}

std::string ToText(const Json& string) {
    return string.is_null() ? "-" : string.get<std::string>();
}

// Year, month and day as the book gives them, such as "2008-3-15".
std::string DateToText(const Json& date) {
    std::string text;
    for (const Json& part : date) {
        if (!part.is_null())
            text += (text.empty() ? "" : "-") + ToText(part);
    }
    return text.empty() ? "-" : text;
}

// "37.5 % (block 1024)"
std::string PlaceToText(const Json& place) {
    if (place.is_null())
        return "-";
    const std::string block = "block " + place["block"].dump();
    if (place["percent"].is_null())
        return block + ", which is outside of the book";
    return place["percent"].dump() + " % (" + block + ")";
}

// "  12   37.5 %  The Pool of Tears"
std::string ChaptersToLines(const Json& chapters) {
    std::string lines;
    int number = 0;
    for (const Json& chapter : chapters) {
        const Json& place = chapter["place"];
        const std::string percent = place.is_null() ? "-   " : place["percent"].dump() + " %";
        char line[48];
        std::snprintf(line, sizeof(line), "%4d  %7s  ", ++number, percent.c_str());
        lines += line + ForTerminal(ToText(chapter["title"])) + "\n";
    }
    return lines;
}

std::string ToLines(const Json& info) {
    const Json& chapters = info["chapters"];
    return Line("Title", ToText(info["title"])) + Line("Author", ToText(info["author"])) +
           Line("Date", DateToText(info["date"])) + Line("Genre", ToText(info["genre"])) +
           Line("Publisher", ToText(info["publisher"])) + Line("Vendor", ToText(info["vendor"])) +
           Line("Chunks", info["chunks"].dump()) +
           Line("Declared", info["declaredBytes"].dump() + " bytes of text") +
           Line("Actual", info["actualBytes"].dump() + " bytes of text, " +
                              info["actualCharacters"].dump() + " characters") +
           Line("Blocks", info["blocks"].dump() + " of " + info["blockBytes"].dump() + " bytes") +
           Line("Place", PlaceToText(info["place"])) +
           Line("Chapters", chapters.empty() ? "-" : std::to_string(chapters.size())) +
           ChaptersToLines(chapters);
}

} // namespace

int RunInfo(const std::string& path, bool json) {
    const Book book(path);
    const TextSurvey survey = SurveyText(book);
    const Json info = ToJson(book, survey);
    WriteOut(json ? Dump(info, 2) + "\n" : ToLines(info));
    for (const std::string& warning : survey.warnings)
        Report(path, "warning: " + warning);
    for (const int index : survey.damagedChunks)
        Report(path, DamagedChunk(index, book.ChunkCount()));
    return survey.damagedChunks.empty() ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace umdview
