#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "common/Book.h"

namespace umdhost {

// What a book's text really is.
struct TextSurvey {
    std::int64_t bytes = 0; // of the chunks that could be read
    std::int64_t characters = 0;
    std::vector<int> damagedChunks;
    // What keeps a reader from part of the text although the book opens.
    std::vector<std::string> warnings;
};

// Reads all of a book's text.
TextSurvey SurveyText(const Book& book);

} // namespace umdhost
