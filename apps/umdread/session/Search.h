#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "common/Book.h"
#include "common/SavedPlace.h"

namespace umdread {

// One place where the text searched for stands, with what stands around it, as UTF-8.
struct Hit {
    umdhost::Place place;
    std::string before, match, after;
};

// Looks for a text in a whole book, ignoring case and the shape of quotation marks. Goes on chunk
// by chunk when asked to, with a stream and a handler of its own, and is dropped to cancel.
class Search {
public:
    static constexpr std::size_t kMostHits = 2000;

    // Throws umdhost::Failure when the book cannot be read.
    Search(const std::string& path, const std::string& text);

    // Searches the next chunk; false when there is nothing left to search.
    bool Step();

    const std::vector<Hit>& Hits() const { return m_hits; }

private:
    void FindIn(std::size_t end);
    void AddHit(std::size_t unit);
    void DropSearched();
    std::string Text(std::size_t from, std::size_t to) const;

    umdhost::Book m_book;
    std::u16string m_sNeedle;    // folded
    std::string m_bytes;         // the text from block m_nFirstBlock on, as far as it is read
    std::u16string m_folded;     // the same, folded
    std::size_t m_nSearched = 0; // units of it
    std::size_t m_nUnitsLeft;    // of the declared text, not yet read
    int m_nFirstBlock = 0;
    int m_nChunk = 0;
    std::vector<Hit> m_hits;
};

} // namespace umdread
