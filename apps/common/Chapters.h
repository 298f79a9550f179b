#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "common/Book.h"
#include "common/SavedPlace.h"

namespace umdhost {

// One entry of a book's chapter table.
struct Chapter {
    std::string title; // UTF-8; empty when the book has none
    int offset = 0;    // in bytes of the text, as the book states it

    // Where it begins, for an exact jump, and how far that is into the book in percent. None when
    // the offset lies outside of the text; inside a character, that character begins the chapter.
    std::optional<Place> place;
    double percent = 0;
};

// The book's chapters in the order of its table, however that lies. Reads the whole text once.
std::vector<Chapter> ReadChapters(const Book& book);

} // namespace umdhost
