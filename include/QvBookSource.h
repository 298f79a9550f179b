#pragma once

namespace QvFormat {

// Where a book came from. The library keeps the low 8 bits and gives no value a meaning, so the
// application may store numbers of its own.
enum QvBookSource : int {
    QvBookSourceDefault = 0, // what a new record holds
};

} // namespace QvFormat
