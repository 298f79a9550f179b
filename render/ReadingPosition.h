#pragma once

#include "render/BookPosition.h"

namespace QvFormat {

class IBookInfoEntity;

// The place of a book's reading bookmark, in the book's own records. Null: the book has no reading
// data.
// Reads it; without a bookmark `*place` stays as it was.
void RestoreReadingPosition(IBookInfoEntity* entity, BookPosition* place);

// Writes it to the reading-data file.
void SaveReadingPosition(IBookInfoEntity* entity, const BookPosition& place);

} // namespace QvFormat
