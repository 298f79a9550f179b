#pragma once

#include <string>

namespace umdread {

// Pango's description of the letters: the family that was chosen, if any, then one that this system
// has for Latin and one for Chinese, so that each character is drawn by the first that has it. In a
// Chinese book the Chinese one comes first, for the sake of its punctuation.
std::string FontDescription(const std::string& family, int size, bool chinese);

} // namespace umdread
