#include "Utf16.h"

#include <glib.h>

namespace umdread {

namespace {

bool IsFirstHalf(char16_t unit) {
    return (unit & 0xFC00) == 0xD800;
}

unsigned int Utf8Size(char16_t unit) {
    return unit < 0x80 ? 1 : unit < 0x800 ? 2 : 3;
}

} // namespace

bool IsSecondHalf(char16_t unit) {
    return (unit & 0xFC00) == 0xDC00;
}

bool EndsParagraph(char32_t unit) {
    return unit == 0x2029 || unit == '\n' || unit == '\r';
}

char16_t UnitAt(const std::string& bytes, std::size_t index) {
    const auto low = static_cast<unsigned char>(bytes[2 * index]);
    const auto high = static_cast<unsigned char>(bytes[2 * index + 1]);
    return static_cast<char16_t>(low | (high << 8));
}

// Halves of a pair that stand alone are no text.
umdhost::Place PlaceOfUnit(const std::string& bytes, std::size_t index, int firstBlock) {
    const std::size_t block = index / kUnitsOfABlock;
    unsigned int offset = 0;
    for (std::size_t unit = block * kUnitsOfABlock; unit < index; ++unit) {
        const char16_t value = UnitAt(bytes, unit);
        if (IsFirstHalf(value) && unit + 1 < index && IsSecondHalf(UnitAt(bytes, unit + 1))) {
            offset += 4;
            ++unit;
        } else if (!IsFirstHalf(value) && !IsSecondHalf(value)) {
            offset += Utf8Size(value);
        }
    }
    return {static_cast<unsigned int>(firstBlock) + static_cast<unsigned int>(block), offset};
}

std::string FirstLine(const std::string& text, long characters) {
    const char* at = text.c_str();
    while (*at != '\0' && g_unichar_isspace(g_utf8_get_char(at)))
        at = g_utf8_next_char(at);
    const char* const begin = at;
    for (long count = 0; *at != '\0' && count < characters && !EndsParagraph(g_utf8_get_char(at));
         ++count)
        at = g_utf8_next_char(at);
    return {begin, at};
}

} // namespace umdread
