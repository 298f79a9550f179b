// Where paragraphs of UTF-8 text end. Pango decides: after U+2029, a line feed, a carriage return
// or both of the latter.
#pragma once

namespace QvFormat {

// The bytes of the first paragraph, its separator included; all of the text when none ends in it.
// `text` is terminated by a zero byte, because Pango looks past an incomplete character.
int FirstParagraphLength(const char* text, int length);

// Whether a character separates paragraphs.
bool IsParagraphSeparator(char32_t character);

// Whether a text's last character separates paragraphs. An empty text has none.
bool EndsParagraph(const char* text, int length);

} // namespace QvFormat
