#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "common/Book.h"

namespace umdhost {

// What a book's text really is, found by reading all of it.
class TextSurvey {
public:
    explicit TextSurvey(const Book& book);

    std::int64_t Bytes() const { return m_nBytes; } // of the chunks that could be read
    std::int64_t Characters() const { return m_nCharacters; }
    const std::vector<int>& DamagedChunks() const { return m_damagedChunks; }

    // What keeps a reader from part of the text although the book opens; empty when nothing does.
    std::vector<std::string> Warnings() const;

private:
    void AddByte(unsigned char byte);

    std::int64_t m_nDeclaredBytes;
    std::int64_t m_nBytes = 0;
    std::int64_t m_nCharacters = 0;
    std::int64_t m_nLastCut = -1; // byte offset of the last character across two blocks; -1: none
    bool m_bFirstHalf = false;    // the unit before was the first half of a pair
    std::vector<int> m_damagedChunks;
};

} // namespace umdhost
