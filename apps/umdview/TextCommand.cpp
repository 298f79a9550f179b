#include "Commands.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

#include "Output.h"
#include "common/Book.h"
#include "common/Chapters.h"
#include "common/TextDecoder.h"

namespace umdview {

using namespace umdhost;

namespace {

constexpr std::string_view kParagraphSeparator = "\xE2\x80\xA9"; // U+2029

std::string WithNewlines(std::string_view text) {
    std::string lines;
    for (std::size_t end = text.find(kParagraphSeparator); end != std::string_view::npos;
         end = text.find(kParagraphSeparator)) {
        lines.append(text.substr(0, end)).append("\n");
        text.remove_prefix(end + kParagraphSeparator.size());
    }
    return lines.append(text);
}

// What of a chunk is the chapter's; the chunk begins at byte `at` of the text.
std::string_view Part(std::string_view chunk, std::size_t at, const Chapter& chapter) {
    chunk = chunk.substr(0, chapter.end - at);
    return chunk.substr(std::min(chunk.size(), std::max(chapter.begin, at) - at));
}

} // namespace

int RunText(const std::string& path, unsigned int number, bool raw) {
    const Book book(path);
    const Chapter chapter = number > 0 ? FindChapter(book, number) : Chapter{};
    TextDecoder decoder;
    int status = EXIT_SUCCESS;
    std::size_t at = 0;
    for (int index = 0; index < book.ChunkCount() && at < chapter.end; ++index) {
        const std::optional<std::string> chunk = book.ReadChunk(index);
        if (!chunk) {
            Report(path, DamagedChunk(index, book.ChunkCount()));
            decoder.Reset();
            status = EXIT_FAILURE;
            continue;
        }
        const std::string text = decoder.Decode(Part(*chunk, at, chapter));
        WriteOut(raw ? text : WithNewlines(text));
        at += chunk->size();
    }
    if (decoder.IsInsideCharacter())
        Report(path, "warning: the text ends inside a character");
    return status;
}

} // namespace umdview
