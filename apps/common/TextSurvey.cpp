#include "common/TextSurvey.h"

namespace umdhost {

namespace {

// What the declared length does to the reader: the library goes by it.
const char* ResultOfLength(std::int64_t declared, std::int64_t actual) {
    if (declared <= 0)
        return "nothing of it can be shown";
    return declared < actual ? "what is more is not shown" : "the last screens cannot be shown";
}

// Counts the chunks and what is in them. Returns where the last character begins that lies across
// two blocks, as a byte offset; -1: there is none.
std::int64_t Count(const Book& book, TextSurvey& survey) {
    std::int64_t lastCut = -1;
    bool firstHalf = false; // the unit before was the first half of a pair
    for (int index = 0; index < book.ChunkCount(); ++index) {
        const std::optional<std::string> chunk = book.ReadChunk(index);
        if (!chunk) {
            survey.damagedChunks.push_back(index);
            continue;
        }
        for (const unsigned char byte : *chunk) {
            if (++survey.bytes % 2 != 0)
                continue; // the second byte of a unit tells whether that is half of a pair
            const bool secondHalf = firstHalf && (byte & 0xFCu) == 0xDCu;
            survey.characters += secondHalf ? 0 : 1;
            firstHalf = (byte & 0xFCu) == 0xD8u;
            if (firstHalf &&
                (survey.bytes % kBlockBytes == 0 || survey.bytes == book.DeclaredBytes()))
                lastCut = survey.bytes - 2;
        }
    }
    return lastCut;
}

} // namespace

TextSurvey SurveyText(const Book& book) {
    TextSurvey survey;
    const std::int64_t lastCut = Count(book, survey);
    const std::int64_t declared = book.DeclaredBytes();
    if (declared != survey.bytes)
        survey.warnings.push_back("it declares " + std::to_string(declared) +
                                  " bytes of text but holds " + std::to_string(survey.bytes) +
                                  ": " + ResultOfLength(declared, survey.bytes));
    if (lastCut >= 0 && survey.damagedChunks.empty())
        survey.warnings.push_back("the character at byte " + std::to_string(lastCut) +
                                  " lies across two blocks: the text around it cannot be shown");
    if (declared > 0 && declared % 2 != 0)
        survey.warnings.push_back(
            "its text ends inside a character: the last screens cannot be shown");
    return survey;
}

} // namespace umdhost
