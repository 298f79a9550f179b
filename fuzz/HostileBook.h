// Turns the bytes of a fuzzer's input into books that no publisher would make.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include <zlib.h>

#include "base/LittleEndian.h"

namespace fuzz {

// What is left of an input.
using Input = std::basic_string_view<std::uint8_t>;

// The next bytes, fewer when there are not as many; a byte past the end is a zero.
inline Input Take(Input& input, std::size_t size) {
    const Input taken = input.substr(0, size);
    input.remove_prefix(taken.size());
    return taken;
}
inline unsigned TakeByte(Input& input) {
    const Input byte = Take(input, 1);
    return byte.empty() ? 0 : byte.front();
}

struct Range {
    char32_t first;
    unsigned count;
};

// In this order: a word without an end, words, Han, controls; spaces, joiners and embeddings,
// paragraphs without text, isolates, combining marks; Hebrew, Arabic, Indic to Tibetan, Hangul
// letters; halves of characters, private use, variation selectors to specials, unassigned;
// pictures, right-to-left letters of two units, tags and the rest up to the last code point.
constexpr Range kRanges[] = {{U'a', 26},        {U' ', 95},       {0x4E00, 3000},    {0x0000, 32},
                             {0x2000, 48},      {0x2029, 1},      {0x2066, 4},       {0x0300, 112},
                             {0x05D0, 27},      {0x0600, 256},    {0x0900, 0x600},   {0x1100, 256},
                             {0xD800, 0x800},   {0xE000, 6400},   {0xFE00, 512},     {0x0378, 16},
                             {0x1F000, 0x1000}, {0x10800, 0x800}, {0xE0000, 0x20000}};

// One byte says how often the text is repeated. Then follow runs of characters, three bytes each:
// which kind, how many, which of them. At most `units` of UTF-16.
inline std::u16string HostileText(Input input, std::size_t units) {
    std::u16string text;
    const unsigned repeats = TakeByte(input) % 16;
    while (!input.empty() && text.size() < units) {
        const Range& range = kRanges[TakeByte(input) % std::size(kRanges)];
        const unsigned count = TakeByte(input);
        const unsigned seed = TakeByte(input);
        for (unsigned i = 0; i < (count < 224 ? count % 32 + 1 : count); ++i) {
            const char32_t character = range.first + (seed * 41 + i * (seed % 8)) % range.count;
            const bool isPair = character >= 0x10000;
            if (isPair)
                text += static_cast<char16_t>(0xD7C0 + (character >> 10));
            text += static_cast<char16_t>(isPair ? 0xDC00 + (character & 0x3FF) : character);
        }
    }
    const std::u16string once = text;
    for (unsigned i = 0; i < repeats && text.size() < units; ++i)
        text += once;
    return text.substr(0, units);
}

inline void AppendChunk(std::vector<unsigned char>& file, const unsigned char* text,
                        std::size_t size) {
    constexpr std::size_t header = 9;
    const std::size_t begin = file.size();
    uLongf length = compressBound(static_cast<uLong>(size));
    file.resize(begin + header + length);
    compress2(&file[begin + header], &length, text, static_cast<uLong>(size), Z_BEST_SPEED);
    file.resize(begin + header + length);
    file[begin] = '$';
    QvFormat::StoreLE32(&file[begin + 5], static_cast<std::uint32_t>(header + length));
}

// A book with this text. Four bytes are its shape: the size of its chunks, which end inside a
// character as often as not; the length that it declares, in most books the true one; which byte is
// damaged, and how. docs/umd-format.md says what the nodes before the chunks hold.
inline std::vector<unsigned char> HostileBook(const std::u16string& text, Input& shape) {
    std::vector<unsigned char> content(2 * text.size());
    for (std::size_t i = 0; i < text.size(); ++i)
        QvFormat::StoreLE16(&content[2 * i], text[i]);
    const std::size_t chunk = 127 + std::size_t{TakeByte(shape)} * 211;
    const unsigned lie = TakeByte(shape);
    const std::size_t length =
        lie < 240 ? content.size() + (lie < 200 ? 0 : lie - 220) : content.size() << (lie - 240);
    std::vector<unsigned char> file = {0, 0, 0, 0, '#', 0x0B, 0, 0, 9,
                                       0, 0, 0, 0, '#', 0xF1, 0, 0, 5};
    QvFormat::StoreLE32(&file[9], static_cast<std::uint32_t>(length));
    for (std::size_t i = 0; i < content.size(); i += chunk)
        AppendChunk(file, &content[i], std::min(chunk, content.size() - i));
    unsigned char& damaged = file[TakeByte(shape) * file.size() / 256];
    const unsigned damage = TakeByte(shape);
    damaged = static_cast<unsigned char>(damaged ^ (damage < 224 ? 0 : damage));
    return file;
}

} // namespace fuzz
