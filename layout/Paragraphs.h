// Where paragraphs end: after U+2029, a line feed or a carriage return, as Pango has it.
#pragma once

#include <cstring>

namespace QvFormat {

inline bool IsParagraphSeparator(char32_t character) {
    return character == U'\n' || character == U'\r' || character == U'\u2029';
}

// Whether the last character of a UTF-8 text separates paragraphs; an empty text has none.
inline bool EndsParagraph(const char* text, int length) {
    if (length >= 3 && std::memcmp(text + length - 3, "\u2029", 3) == 0)
        return true;
    return length >= 1 && IsParagraphSeparator(static_cast<unsigned char>(text[length - 1]));
}

} // namespace QvFormat
