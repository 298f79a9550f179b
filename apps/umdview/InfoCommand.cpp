#include "Commands.h"

#include <cstdio>
#include <cstdlib>

#include <nlohmann/json.hpp>

#include "Output.h"
#include "common/Book.h"
#include "common/Chapters.h"
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

Json ToJson(const std::optional<Place>& place, const Book& book) {
    if (!place)
        return nullptr;
    const std::optional<double> percent = book.Percent(place->block);
    return {{"percent", percent ? Json(*percent) : Json(nullptr)},
            {"block", place->block},
            {"offset", place->offset}};
}

// "37.5 % (block 1024)"
std::string ToText(const std::optional<Place>& place, const Book& book) {
    if (!place)
        return "-";
    const std::string block = "block " + std::to_string(place->block);
    const std::optional<double> percent = book.Percent(place->block);
    char number[16];
    std::snprintf(number, sizeof(number), "%.1f", percent.value_or(0));
    return percent ? number + (" % (" + block + ")") : block + ", which is outside of the book";
}

using Chapters = std::vector<Chapter>;

Json ToJson(const Chapters& chapters, const Book& book) {
    Json json = Json::array();
    for (const Chapter& chapter : chapters)
        json.push_back({{"title", chapter.title},
                        {"textOffset", chapter.offset},
                        {"place", ToJson(chapter.place, book)}});
    return json;
}

// "  12   37.5 %  The Pool of Tears"
std::string ToLines(const Chapters& chapters) {
    std::string lines;
    for (std::size_t i = 0; i < chapters.size(); ++i) {
        const Chapter& chapter = chapters[i];
        char line[48];
        std::snprintf(line, sizeof(line), chapter.place ? "%4zu  %5.1f %%  " : "%4zu     -     ",
                      i + 1, chapter.percent);
        lines += line + ForTerminal(chapter.title) + "\n";
    }
    return lines;
}

Json ToJson(const Book& book, const TextSurvey& survey, const Chapters& chapters) {
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
    json["blockBytes"] = kBlockBytes;
    json["place"] = ToJson(ReadPlace(book.Path()), book);
    json["chapters"] = ToJson(chapters, book);
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

std::string ToLines(const Book& book, const TextSurvey& survey, const Chapters& chapters) {
    const BookStrings strings = book.Strings();
    return Line("Title", strings.title) + Line("Author", strings.author) +
           Line("Date", Date(strings)) + Line("Genre", strings.genre) +
           Line("Publisher", strings.publisher) + Line("Vendor", strings.vendor) +
           Line("Chunks", std::to_string(book.ChunkCount())) +
           Line("Declared", std::to_string(book.DeclaredBytes()) + " bytes of text") +
           Line("Actual", std::to_string(survey.Bytes()) + " bytes of text, " +
                              std::to_string(survey.Characters()) + " characters") +
           Line("Blocks", std::to_string(book.BlockCount()) + " of " + std::to_string(kBlockBytes) +
                              " bytes") +
           Line("Place", ToText(ReadPlace(book.Path()), book)) +
           Line("Chapters", chapters.empty() ? "-" : std::to_string(chapters.size())) +
           ToLines(chapters);
}

} // namespace

int RunInfo(const std::string& path, bool json) {
    const Book book(path);
    const TextSurvey survey(book);
    const Chapters chapters = ReadChapters(book);
    if (json)
        WriteOut(
            ToJson(book, survey, chapters).dump(2, ' ', false, Json::error_handler_t::replace) +
            "\n");
    else
        WriteOut(ToLines(book, survey, chapters));
    FlushOut();
    for (const std::string& warning : survey.Warnings())
        Report(path, "warning: " + warning);
    for (const int index : survey.DamagedChunks())
        Report(path, DamagedChunk(index, book.ChunkCount()));
    return survey.DamagedChunks().empty() ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace umdview
