#include "render/ScreenLines.h"

#include <algorithm>

namespace QvFormat {

int ScreenLines::CountFrom(int line, PageCutter screen) const {
    const int first = std::max(line, 0);
    int end = first;
    while (end < m_nCount && !screen.BreaksBefore(m_pLines[end].height))
        ++end;
    return end - first;
}

int ScreenLines::CountBefore(int line, PageCutter screen, bool hasTextBefore) const {
    line = std::min(line, m_nCount);
    if (line <= 0)
        return 0;
    int first = line;
    while (first > 0 && !screen.BreaksBefore(m_pLines[first - 1].height))
        --first;
    const bool textBeforeFits =
        first == 0 && hasTextBefore && !screen.BreaksBefore(m_pLines[0].height);
    return textBeforeFits ? 0 : line - first;
}

int ScreenLines::NextScreen(int line, const PageCutter& screen) const {
    return line + std::max(CountFrom(line, screen), 1);
}

int ScreenLines::StepBack(int line, const PageCutter& screen, bool hasTextBefore) const {
    const int count = CountBefore(line, screen, hasTextBefore);
    return count == 0 && line > 0 && CountFrom(line - 1, screen) == 0 ? 1 : count;
}

int ScreenLines::LineAt(int offset) const {
    const QVLayoutLineInfo* found =
        std::lower_bound(m_pLines, m_pLines + m_nCount, offset,
                         [](const QVLayoutLineInfo& line, int at) { return line.offset < at; });
    return static_cast<int>(std::min<std::ptrdiff_t>(found - m_pLines, m_nCount - 1));
}

} // namespace QvFormat
