#pragma once

namespace QvFormat {

// Cuts a run of lines into pages: a line begins a new page when its own height no longer fits in
// what is left of the page. The spacing after a line counts against its page; the line that is
// tested needs only its height. Everything in pixels.
class PageCutter {
public:
    PageCutter(unsigned int pageHeight, int spacing)
        : m_nPageHeight(pageHeight), m_nSpacing(spacing), m_nRemaining(pageHeight) {}

    // Takes the next line; true when a page break stands before it. A line taller than a page
    // always has one, and so has the line after it.
    bool BreaksBefore(int lineHeight) {
        const bool breaks = lineHeight > m_nRemaining;
        if (breaks)
            m_nRemaining = m_nPageHeight;
        m_nRemaining -= static_cast<long long>(lineHeight) + m_nSpacing;
        return breaks;
    }

private:
    long long m_nPageHeight;
    long long m_nSpacing;
    long long m_nRemaining;
};

} // namespace QvFormat
