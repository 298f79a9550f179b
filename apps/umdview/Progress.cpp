#include "Progress.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include <unistd.h>

namespace umdview {

namespace {

constexpr std::chrono::milliseconds firstDelay(500); // a shorter run needs no bar
constexpr std::chrono::milliseconds interval(100);
constexpr long barWidth = 40;

std::string Bar(long done, long total) {
    const long filled = std::clamp(done * barWidth / total, 0L, barWidth);
    return "[" + std::string(static_cast<std::size_t>(filled), '#') +
           std::string(static_cast<std::size_t>(barWidth - filled), '.') + "] " +
           std::to_string(done) + " of " + std::to_string(total);
}

} // namespace

Progress::Progress(std::string label, long total)
    : m_sLabel(std::move(label)), m_nTotal(total), m_bVisible(IsVisible()),
      m_nextTime(Clock::now() + firstDelay) {}

Progress::~Progress() {
    if (m_bShown)
        std::fputs("\r\033[K", stderr);
}

bool Progress::IsVisible() {
    return isatty(STDERR_FILENO) != 0;
}

void Progress::Show(long done) {
    if (!m_bVisible || Clock::now() < m_nextTime)
        return;
    m_nextTime = Clock::now() + interval;
    m_bShown = true;
    const std::string amount = m_nTotal > 0 ? Bar(done, m_nTotal) : std::to_string(done);
    std::fprintf(stderr, "\r%s %s\033[K", m_sLabel.c_str(), amount.c_str());
}

} // namespace umdview
