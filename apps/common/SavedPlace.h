#pragma once

#include <optional>
#include <string>
#include <tuple>

namespace umdhost {

// Where a reader left a book: the block of text, counted from 0, and the byte in its UTF-8.
struct Place {
    unsigned int block = 0;
    unsigned int offset = 0;
};

// In the order of the text.
inline bool operator==(const Place& a, const Place& b) {
    return a.block == b.block && a.offset == b.offset;
}
inline bool operator<(const Place& a, const Place& b) {
    return std::tie(a.block, a.offset) < std::tie(b.block, b.offset);
}

// The reading-data file that belongs to a book.
std::string ReadingDataPath(const std::string& book);

// The place kept beside a book; none when there is no reading data, or none that can be read.
// Nothing is created or changed.
std::optional<Place> ReadPlace(const std::string& book);

// Keeps a place beside a book; false when it cannot be read back from there.
bool WritePlace(const std::string& book, const Place& place);

} // namespace umdhost
