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
           std::string(static_cast<std::size_t>(barWidth - filled), '.') + "]";
}

} // namespace

Progress::Progress(std::string label, int blocks)
    : m_sLabel(std::move(label)), m_nBlocks(std::max(blocks, 1)),
      m_nextTime(isatty(STDERR_FILENO) != 0 ? Clock::now() + firstDelay
                                            : Clock::time_point::max()) {}

Progress::~Progress() {
    if (m_bShown)
        std::fputs("\r\033[K", stderr);
}

void Progress::Show(long screens, int block) {
    if (Clock::now() < m_nextTime)
        return;
    m_nextTime = Clock::now() + interval;
    m_bShown = true;
    std::fprintf(stderr, "\r%s %s %ld\033[K", m_sLabel.c_str(), Bar(block + 1L, m_nBlocks).c_str(),
                 screens);
}

} // namespace umdview
