#pragma once

#include <cstddef>
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

    // Where it begins, for an exact jump. None when the offset lies outside of the text; inside a
    // character, that character begins the chapter.
    std::optional<Place> place{};

    // The bytes of the text from there to where the next chapter in the text begins. At first, all.
    std::size_t begin = 0;
    std::size_t end = std::string::npos;
};

// The book's chapters in the order of its table, however that lies. Reads the whole text once.
std::vector<Chapter> ReadChapters(const Book& book);

// The chapter that is number `number` in the table, counted from 1. Throws Failure when there is
// none, or none that has a place.
Chapter FindChapter(const Book& book, long number);

} // namespace umdhost
