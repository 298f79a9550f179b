#include "Commands.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <limits>

#include "Output.h"
#include "common/Book.h"
#include "common/Chapters.h"
#include "common/Failure.h"
#include "common/TextDecoder.h"

namespace umdview {

using namespace umdhost;

namespace {

constexpr std::int64_t kPieceBytes = 32768;            // converted at a time, however big the chunk
constexpr char kParagraphSeparator[] = "\xE2\x80\xA9"; // U+2029
constexpr std::size_t kSeparatorBytes = sizeof(kParagraphSeparator) - 1;

std::string WithNewlines(const std::string& text) {
    std::string lines;
    std::size_t from = 0;
    for (std::size_t at = text.find(kParagraphSeparator); at != std::string::npos;
         at = text.find(kParagraphSeparator, from)) {
        lines.append(text, from, at - from).append("\n");
        from = at + kSeparatorBytes;
    }
    return lines.append(text, from, std::string::npos);
}

// The bytes of the text to write.
struct Range {
    std::int64_t begin = 0;
    std::int64_t end = std::numeric_limits<std::int64_t>::max();
};

Range RangeOf(const Book& book, long number) {
    if (number == 0)
        return {};
    const Chapter chapter = FindChapter(book, number);
    return {chapter.begin, chapter.end};
}

// Writes what lies in the range; the chunk begins at byte `at` of the text.
void WriteChunk(const Chunk& chunk, std::int64_t at, const Range& range, TextDecoder& decoder,
                bool raw) {
    const auto size = static_cast<std::int64_t>(chunk.size);
    const std::int64_t end = std::min(size, range.end - at);
    for (std::int64_t from = std::max<std::int64_t>(range.begin - at, 0); from < end;
         from += kPieceBytes) {
        const auto count = static_cast<std::size_t>(std::min(kPieceBytes, end - from));
        const std::string text = decoder.Decode(chunk.bytes.get() + from, count);
        WriteOut(raw ? text : WithNewlines(text));
    }
}

} // namespace

int RunText(const std::string& path, long chapter, bool raw) {
    const Book book(path);
    const Range range = RangeOf(book, chapter);
    TextDecoder decoder;
    int status = EXIT_SUCCESS;
    std::int64_t at = 0;
    for (int index = 0; index < book.ChunkCount() && at < range.end; ++index) {
        const Chunk chunk = book.ReadChunk(index);
        WriteChunk(chunk, at, range, decoder, raw);
        at += static_cast<std::int64_t>(chunk.size);
        if (chunk.bytes != nullptr)
            continue;
        Report(path, DamagedChunk(index, book.ChunkCount()));
        decoder.Reset();
        status = EXIT_FAILURE;
    }
    FlushOut();
    if (decoder.IsInsideCharacter())
        Report(path, "warning: the text ends inside a character");
    return status;
}

} // namespace umdview
