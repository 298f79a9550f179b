// The book's text as it lies in its chunks, UTF-16LE, and the places of its characters.
#pragma once

#include <cstddef>
#include <string>

#include "common/Book.h"
#include "common/SavedPlace.h"

namespace umdread {

constexpr std::size_t kUnitsOfABlock = umdhost::kBlockBytes / 2;

bool IsSecondHalf(char16_t unit); // of a surrogate pair
bool EndsParagraph(char32_t unit);

// Unit `index` of the bytes.
char16_t UnitAt(const std::string& bytes, std::size_t index);

// The place of unit `index` of bytes that begin with block `firstBlock`. Offsets count the UTF-8
// of the block that the unit stands in.
umdhost::Place PlaceOfUnit(const std::string& bytes, std::size_t index, int firstBlock);

// UTF-8 up to the first paragraph separator or newline, without spaces before it, and at most
// `characters` long.
std::string FirstLine(const std::string& text, long characters);

} // namespace umdread
