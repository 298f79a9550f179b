#include "InfoCommand.h"

#include <cstdlib>

#include <nlohmann/json.hpp>

#include "Book.h"
#include "Failure.h"
#include "Output.h"
#include "TextSurvey.h"

namespace umdview {

namespace {

using Json = nlohmann::ordered_json;

// The renderer counts blocks by the declared length.
std::int64_t BlockCount(const Book& book) {
    const std::int64_t bytes = book.DeclaredBytes();
    return bytes > 0 ? (bytes + blockBytes - 1) / blockBytes : 0;
}

Json ToJson(const BookStrings::Text& text) {
    return text ? Json(*text) : Json(nullptr);
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
    json["blocks"] = BlockCount(book);
    json["blockBytes"] = blockBytes;
    json["warnings"] = survey.Warnings();
    return json;
}

// A book's strings come from anywhere: control characters must not reach the terminal.
std::string WithoutControls(std::string text) {
    for (char& character : text) {
        if (static_cast<unsigned char>(character) < 0x20 || character == 0x7F)
            character = ' ';
    }
    // U+0080 to U+009F, which are C2 80 to C2 9F in UTF-8.
    for (std::size_t at = text.find('\xC2'); at != std::string::npos;
         at = text.find('\xC2', at + 1)) {
        if (at + 1 < text.size() && static_cast<unsigned char>(text[at + 1]) < 0xA0)
            text.replace(at, 2, "  ");
    }
    return text;
}

std::string Line(const std::string& name, const std::string& value) {
    std::string line = name + ":";
    line.resize(12, ' ');
    return line + WithoutControls(value) + "\n";
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
           Line("Blocks",
                std::to_string(BlockCount(book)) + " of " + std::to_string(blockBytes) + " bytes");
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
