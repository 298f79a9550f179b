#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// Writes UMD books for the demo, the tests and the benchmarks. Not part of the library.
namespace umdbook {

using Bytes = std::vector<unsigned char>;

struct Chapter {
    std::u16string title; // at most 127 units
    std::u16string text;  // paragraphs, each ended by U+2029
};

struct Book {
    std::u16string title, author, year, month, day, genre, publisher, vendor; // left out when empty
    std::vector<Chapter> chapters;
    Bytes cover; // an image file's bytes; left out when empty

    std::u16string Text() const; // the chapters' texts, one after the other
};

struct Options {
    std::size_t chunkBytes = 32768; // UTF-16 bytes in a text chunk, rounded down to even
    bool chapterTable = true;       // chapter offsets and titles
    bool separators = true;         // 0xF1 and 0x0A nodes between the chunks
    bool trailer = true;            // what follows the text: cover, page offsets, end node
    std::optional<std::int32_t> declaredLength; // what the book says its text's length is, if a lie
};

// The book's bytes, the same for the same input. What a node cannot hold of a title or another
// string is cut off at a whole character. Throws std::length_error past the format's 2^31 bytes.
Bytes WriteBook(const Book& book, const Options& options = {});

// The book with its chapters, each under a running number, again and again until the text has at
// least `utf16Bytes` bytes. Never shorter than the book; a book without text stays as it is.
Book Repeated(const Book& book, std::size_t utf16Bytes);

// A book from UTF-8 text. A line that begins with "# " begins a chapter and gives its title, which
// also stands as the chapter's first paragraph; runs of other lines are joined to paragraphs that
// blank lines end. Where the very first line is a field ("title: Tao Te Ching"), the lines up to
// the first blank one are fields and no part of the text: title, author, year, month, day, genre,
// publisher, vendor. Throws std::runtime_error for text that is not UTF-8 and for a line among the
// fields that is none.
Book BookFromText(const std::string& utf8);

std::u16string ToUtf16(const std::string& utf8); // throws std::runtime_error
std::string ToUtf8(const std::u16string& text);  // lone surrogates become U+FFFD

} // namespace umdbook
