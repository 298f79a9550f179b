#include "layout/Paragraphs.h"

#include <algorithm>

#include <pango/pango.h>

namespace QvFormat {

int FirstParagraphLength(const char* text, int length) {
    int separator = 0;
    int next = 0;
    pango_find_paragraph_boundary(text, length, &separator, &next);
    return next;
}

bool IsParagraphSeparator(char32_t character) {
    char utf8[8] = {};
    const int length = g_unichar_to_utf8(character, utf8);
    int separator = 0;
    pango_find_paragraph_boundary(utf8, length, &separator, nullptr);
    return separator < length;
}

bool EndsParagraph(const char* text, int length) {
    const char* last = g_utf8_find_prev_char(text, text + std::max(length, 0));
    return last && IsParagraphSeparator(g_utf8_get_char_validated(last, text + length - last));
}

} // namespace QvFormat
