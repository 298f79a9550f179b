#include "TextCommand.h"

#include <algorithm>
#include <cstdlib>

#include "Output.h"
#include "common/Book.h"
#include "common/Failure.h"
#include "common/TextDecoder.h"

namespace umdview {

using namespace umdhost;

namespace {

constexpr std::size_t pieceBytes = 32768;             // converted at a time, however big the chunk
constexpr char paragraphSeparator[] = "\xE2\x80\xA9"; // U+2029
constexpr std::size_t separatorBytes = sizeof(paragraphSeparator) - 1;

std::string WithNewlines(const std::string& text) {
    std::string lines;
    std::size_t from = 0;
    for (std::size_t at = text.find(paragraphSeparator); at != std::string::npos;
         at = text.find(paragraphSeparator, from)) {
        lines.append(text, from, at - from).append("\n");
        from = at + separatorBytes;
    }
    return lines.append(text, from, std::string::npos);
}

void WriteChunk(const Chunk& chunk, TextDecoder& decoder, bool raw) {
    for (std::size_t from = 0; from < chunk.size; from += pieceBytes) {
        const std::size_t size = std::min(pieceBytes, chunk.size - from);
        const std::string text = decoder.Decode(chunk.bytes.get() + from, size);
        WriteOut(raw ? text : WithNewlines(text));
    }
}

} // namespace

int RunText(const std::string& path, bool raw) {
    const Book book(path);
    TextDecoder decoder;
    int status = EXIT_SUCCESS;
    for (int index = 0; index < book.ChunkCount(); ++index) {
        const Chunk chunk = book.ReadChunk(index);
        WriteChunk(chunk, decoder, raw);
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
