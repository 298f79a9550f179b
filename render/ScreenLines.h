#pragma once

#include "QvRecords.h"
#include "layout/PageCutter.h"

namespace QvFormat {

// Finds where screens begin and end in a line table, which it does not own. `screen` is an empty
// one of the size to count for. A line taller than a screen is a screen of its own.
class ScreenLines {
public:
    ScreenLines(const QVLayoutLineInfo* lines, int count) : m_pLines(lines), m_nCount(count) {}

    // How many lines fit on a screen from `line` on; 0 past the table and for a taller line.
    int CountFrom(int line, PageCutter screen) const;

    // How many fit on a screen that ends before `line`; 0 when there are none, when the last of
    // them is taller, and when text that stands before the table's would still fit on that screen.
    int CountBefore(int line, PageCutter screen, bool hasTextBefore) const;

    // The first line after the screen that begins at `line`.
    int NextScreen(int line, const PageCutter& screen) const;

    // How many lines to step back from `line` to the screen before; 0 when the table does not hold
    // the whole of it.
    int StepBack(int line, const PageCutter& screen, bool hasTextBefore) const;

    // The first line that begins at or after a byte of the text, or the last line. At least one
    // line.
    int LineAt(int offset) const;

private:
    const QVLayoutLineInfo* m_pLines;
    int m_nCount;
};

} // namespace QvFormat
