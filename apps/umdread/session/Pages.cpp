#include "Pages.h"

#include <algorithm>

#include "base/CFileStream.h"
#include "base/Handles.h"
#include "common/Book.h"
#include "common/Failure.h"
#include "common/TextDecoder.h"
#include "session/Utf16.h"

namespace umdread {

using namespace QvFormat;

namespace {

constexpr int kMostTextBytes = 1 << 15; // the library lays out less at a time
constexpr int kBlocksNearby = 8;        // how far a paragraph's begin is looked for

bool IsHan(char16_t unit) {
    return unit >= 0x3400 && unit < 0xA000;
}

bool IsLatin(char16_t unit) {
    return (unit | 0x20) >= 'a' && (unit | 0x20) <= 'z';
}

} // namespace

// The renderer gets no path, and so keeps no reading data: ReadingData says why.
Pages::Pages(const std::string& path) : m_sPath(path), m_pLayout(nullptr) {
    auto stream = umdhost::OpenBookFile(path);
    const Setting setting;
    auto layout =
        std::make_unique<CPangoLayout>(setting.font.c_str(), setting.width, setting.height, 72, 72);
    layout->SetWrap(QVLayoutWrapWordChar);
    m_pLayout = layout.get();
    char noReadingData[] = "";
    if (m_renderer.Initialize(stream.release(), layout.release(), noReadingData) != QV_S_OK)
        umdhost::ExplainRefusal(path);
}

// The renderer lays the text out anew when it next draws, here into a single pixel.
void Pages::Set(const Setting& setting) {
    m_pLayout->SetFontDescription(setting.font.c_str());
    m_pLayout->SetLineSpacing(setting.lineSpacing);
    m_pLayout->SetIndent(setting.indent);
    m_pLayout->SetJustify(setting.justified);
    m_renderer.SetScreenRes(setting.width, setting.height);
    unsigned char pixel = 0;
    m_renderer.DrawCurScreen({0, &pixel, 1, 1, 1}, 0, 0);
    Locate();
}

bool Pages::Show(const Place& place) {
    m_nPassedOver = 0;
    return m_renderer.UmdSetText(static_cast<int>(place.block), static_cast<int>(place.offset))
               ? Located()
               : ShowReadable(static_cast<int>(place.block), true);
}

bool Pages::ShowLast() {
    if (!m_renderer.UmdSetText(BlockCount() - 1, 0))
        return ShowReadable(BlockCount() - 1, false);
    m_renderer.GotoPrevScreen();
    while (m_renderer.GotoNextScreen() == QV_S_OK)
        ;
    return Located();
}

bool Pages::ShowReadable(int block, bool forward) {
    m_nPassedOver = 0;
    return m_renderer.GotoReadableScreen(block, forward, &m_nPassedOver) == QV_S_OK && Located();
}

Turn Pages::TurnPage(bool forward, Gap* gap) {
    const QVRESULT turned = forward ? m_renderer.GotoNextScreen() : m_renderer.GotoPrevScreen();
    if (turned == QV_S_OK) {
        Locate();
        return Turn::Done;
    }
    if (forward ? !m_end : m_begin == Place())
        return Turn::AtEnd;
    *gap = LookAhead(forward);
    if (gap->bytes > 0 || !gap->next)
        return Turn::AtGap;
    return ShowReadable(-1, forward) ? Turn::Done : Turn::AtGap;
}

// What must be left out to go on. A second renderer finds out, so that the screen stays.
Gap Pages::LookAhead(bool forward) {
    Gap gap;
    Pages ahead(m_sPath);
    const auto begin = static_cast<int>(m_begin.block) - (m_begin.offset == 0 ? 1 : 0);
    const bool shown =
        ahead.ShowReadable(forward ? static_cast<int>(m_end->block) : begin, forward);
    gap.bytes = ahead.PassedOver();
    if (shown)
        gap.next = ahead.Begin();
    return gap;
}

bool Pages::Located() {
    Locate();
    return true;
}

// Notes where the screen shown begins and ends, and its lines.
void Pages::Locate() {
    int block = 0;
    int offset = 0;
    m_renderer.GetCurPosition(&block, &offset);
    m_begin = {static_cast<unsigned int>(block), static_cast<unsigned int>(offset)};
    m_end.reset();
    m_lines.clear();
    QVLayoutLineInfo* table = nullptr;
    unsigned int count = 0;
    m_pLayout->GetLineTable(&table, &count);
    const std::unique_ptr<QVLayoutLineInfo[]> owned(table);
    if (table != nullptr)
        LocateLines(table, count);
}

void Pages::LocateLines(const QVLayoutLineInfo* table, unsigned int count) {
    const QVLayoutLineInfo* const tableEnd = table + count;
    const auto first = std::partition_point(table, tableEnd, [this](const QVLayoutLineInfo& line) {
        const auto place = PlaceOf(line);
        return place && *place < m_begin;
    });
    const int shown = m_renderer.GetNextPageLineNum(static_cast<int>(first - table));
    const auto last = first + std::min<std::ptrdiff_t>(std::max(shown, 1), tableEnd - first);
    unsigned int spacing = 0;
    m_pLayout->GetLineSpacing(&spacing);
    int y = 0;
    for (auto line = first; line < last; ++line) {
        m_lines.push_back({PlaceOf(*line).value_or(m_begin), y + line->height / 2});
        y += line->height + static_cast<int>(spacing);
    }
    m_end = last < tableEnd ? PlaceOf(*last) : std::nullopt;
    if (!m_end) // also for the empty line after a last separator
        m_end = AfterText(first < tableEnd ? first->offset : 0);
}

std::optional<Place> Pages::PlaceOf(const QVLayoutLineInfo& line) {
    int block = 0;
    int offset = 0;
    if (!m_renderer.GetBlockInfo(line.offset, &block, &offset))
        return std::nullopt;
    return Place{static_cast<unsigned int>(block), static_cast<unsigned int>(offset)};
}

// What follows the text that is laid out: it ends with a block, though not always with the same
// number of them.
std::optional<Place> Pages::AfterText(int offsetInside) {
    int offset = offsetInside;
    for (int step = kMostTextBytes; step > 0; step /= 2) {
        if (PlaceOf({offset + step, 0}))
            offset += step;
    }
    const auto last = PlaceOf({offset, 0});
    if (!last || static_cast<int>(last->block) + 1 >= BlockCount())
        return std::nullopt;
    return Place{last->block + 1, 0};
}

std::optional<int> Pages::MiddleOfLine(const Place& place) const {
    std::optional<int> middle;
    for (const Line& line : m_lines) {
        if (!(place < line.begin))
            middle = line.middle;
    }
    return m_end && !(place < *m_end) ? std::nullopt : middle;
}

double Pages::FractionOf(const Place& place) {
    const int last = std::max(BlockCount() - 1, 1);
    return std::clamp(static_cast<double>(place.block) / last, 0.0, 1.0);
}

// Up to a segment of UTF-16LE text from a block on.
std::string Pages::Bytes(int block) {
    int length = 0;
    const MallocPtr<unsigned char> content(m_renderer.GetBlockContent(block, &length));
    if (content == nullptr)
        return {};
    return {reinterpret_cast<const char*>(content.get()), static_cast<std::size_t>(length)};
}

std::string Pages::TextAt(const Place& place, long characters) {
    const std::string text = umdhost::TextDecoder().Decode(Bytes(static_cast<int>(place.block)));
    std::size_t begin = std::min<std::size_t>(place.offset, text.size());
    while (begin < text.size() &&
           (text[begin] & 0xC0) == 0x80) // inside a character: a damaged mark
        ++begin;
    return FirstLine(text.substr(begin), characters);
}

Place Pages::ParagraphAfter(int block) {
    const std::string bytes = Bytes(block);
    const std::size_t most = std::min(bytes.size() / 2, kBlocksNearby * kUnitsOfABlock);
    for (std::size_t unit = 0; block > 0 && unit + 1 < most; ++unit) {
        if (EndsParagraph(UnitAt(bytes, unit)) && !EndsParagraph(UnitAt(bytes, unit + 1)))
            return PlaceOfUnit(bytes, unit + 1, block);
    }
    return {static_cast<unsigned int>(block), 0};
}

Place Pages::ParagraphBefore(const Place& place) {
    const int first = std::max(static_cast<int>(place.block) - kBlocksNearby, 0);
    const std::string bytes = Bytes(first);
    const std::size_t blocks = place.block - static_cast<unsigned int>(first);
    std::size_t unit = std::min(blocks * kUnitsOfABlock + place.offset, bytes.size() / 2);
    while (unit > 0 && place < PlaceOfUnit(bytes, unit, first))
        --unit;
    for (; unit > 0; --unit) {
        if (EndsParagraph(UnitAt(bytes, unit - 1)))
            return PlaceOfUnit(bytes, unit, first);
    }
    return first == 0 ? Place() : place;
}

bool Pages::IsChinese() {
    const std::string bytes = Bytes(0);
    std::size_t han = 0;
    std::size_t latin = 0;
    for (std::size_t unit = 0; unit < bytes.size() / 2; ++unit) {
        han += IsHan(UnitAt(bytes, unit));
        latin += IsLatin(UnitAt(bytes, unit));
    }
    return han * 4 > latin; // a word of five letters says about as much as one or two characters
}

} // namespace umdread
