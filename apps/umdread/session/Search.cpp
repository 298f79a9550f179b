#include "Search.h"

#include <algorithm>
#include <array>
#include <memory>
#include <string_view>

#include <glib.h>

#include "common/TextDecoder.h"
#include "session/Utf16.h"

namespace umdread {

namespace {

constexpr std::size_t kUnitsAround = 40; // of a hit's surroundings, on each side

char16_t Folded(char16_t unit) {
    if (unit == 0x2018 || unit == 0x2019)
        return '\'';
    if (unit == 0x201C || unit == 0x201D)
        return '"';
    const gunichar lower = g_unichar_tolower(unit);
    return lower < 0x10000 ? static_cast<char16_t>(lower) : unit;
}

using Table = std::array<char16_t, 0x10000>;

const Table& FoldTable() {
    static const std::unique_ptr<const Table> table = [] {
        auto made = std::make_unique<Table>();
        for (std::size_t unit = 0; unit < made->size(); ++unit)
            (*made)[unit] = Folded(static_cast<char16_t>(unit));
        return made;
    }();
    return *table;
}

std::u16string ToFoldedUnits(const std::string& utf8) {
    glong count = 0;
    const std::unique_ptr<gunichar2, void (*)(gpointer)> units(
        g_utf8_to_utf16(utf8.c_str(), -1, nullptr, &count, nullptr), g_free);
    std::u16string folded;
    for (glong i = 0; units != nullptr && i < count; ++i)
        folded += FoldTable()[units.get()[i]];
    return folded;
}

} // namespace

Search::Search(const std::string& path, const std::string& text)
    : m_book(path), m_sNeedle(ToFoldedUnits(text)),
      m_nUnitsLeft(static_cast<std::size_t>(std::max(m_book.DeclaredBytes(), 0)) / 2) {}

bool Search::Step() {
    if (m_sNeedle.empty() || m_nChunk == m_book.ChunkCount() || m_hits.size() == kMostHits)
        return false;
    const std::optional<std::string> chunk = m_book.ReadChunk(m_nChunk++);
    if (!chunk) {
        m_nChunk = m_book.ChunkCount();
        return false;
    }
    m_bytes += *chunk;
    const Table& fold = FoldTable();
    for (std::size_t unit = m_folded.size(); unit < m_bytes.size() / 2 && m_nUnitsLeft > 0;
         ++unit) {
        m_folded += fold[UnitAt(m_bytes, unit)];
        --m_nUnitsLeft;
    }
    const bool last = m_nChunk == m_book.ChunkCount() || m_nUnitsLeft == 0;
    const std::size_t kept = last ? 0 : m_sNeedle.size() + kUnitsAround; // for the next chunk
    FindIn(m_folded.size() - std::min(kept, m_folded.size()));
    DropSearched();
    return !last && m_hits.size() < kMostHits;
}

// Finds what begins before unit `end`.
void Search::FindIn(std::size_t end) {
    while (m_hits.size() < kMostHits) {
        const std::size_t unit = m_folded.find(m_sNeedle, m_nSearched);
        if (unit == std::u16string::npos || unit >= end)
            break;
        AddHit(unit);
        m_nSearched = unit + m_sNeedle.size();
    }
    m_nSearched = std::max(m_nSearched, end);
}

void Search::AddHit(std::size_t unit) {
    const std::size_t end = unit + m_sNeedle.size();
    std::size_t from = unit - std::min(unit, kUnitsAround);
    std::size_t to = std::min(end + kUnitsAround, m_folded.size());
    for (std::size_t i = from; i < unit; ++i) {
        if (EndsParagraph(m_folded[i]))
            from = i + 1;
    }
    for (std::size_t i = to; i > end; --i) {
        if (EndsParagraph(m_folded[i - 1]))
            to = i - 1;
    }
    if (from < unit && IsSecondHalf(m_folded[from]))
        ++from;
    m_hits.push_back({PlaceOfUnit(m_bytes, unit, m_nFirstBlock), Text(from, unit), Text(unit, end),
                      Text(end, to)});
}

std::string Search::Text(std::size_t from, std::size_t to) const {
    return umdhost::TextDecoder().Decode(
        std::string_view(m_bytes).substr(2 * from, 2 * (to - from)));
}

// Whole blocks, and so many that a hit to come keeps its surroundings.
void Search::DropSearched() {
    const std::size_t blocks = (m_nSearched - std::min(m_nSearched, kUnitsAround)) / kUnitsOfABlock;
    m_bytes.erase(0, 2 * blocks * kUnitsOfABlock);
    m_folded.erase(0, blocks * kUnitsOfABlock);
    m_nSearched -= blocks * kUnitsOfABlock;
    m_nFirstBlock += static_cast<int>(blocks);
}

} // namespace umdread
