#include "Utf16.h"

#include <glib.h>

#include "common/Book.h"

namespace umdread {

namespace {

constexpr std::size_t kUnitsOfABlock = umdhost::kBlockBytes / 2;

bool IsFirstHalf(char16_t unit) {
    return (unit & 0xFC00) == 0xD800;
}

bool IsSecondHalf(char16_t unit) {
    return (unit & 0xFC00) == 0xDC00;
}

unsigned int Utf8Size(char16_t unit) {
    return unit < 0x80 ? 1 : unit < 0x800 ? 2 : 3;
}

} // namespace

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
    for (long count = 0; *at != '\0' && count < characters; ++count) {
        const gunichar character = g_utf8_get_char(at);
        if (character == 0x2029 || character == '\n' || character == '\r')
            break;
        at = g_utf8_next_char(at);
    }
    return {begin, at};
}

} // namespace umdread
