#include "Progress.h"

#include <algorithm>
#include <cstdio>
#include <string>

#include <unistd.h>

namespace umdview {

namespace {

constexpr std::chrono::milliseconds firstDelay(500); // a shorter run needs no bar
constexpr std::chrono::milliseconds interval(100);
constexpr long kBarWidth = 40;

std::string Bar(long done, long total) {
    const long filled = std::clamp(done * kBarWidth / total, 0L, kBarWidth);
    return "[" + std::string(static_cast<std::size_t>(filled), '#') +
           std::string(static_cast<std::size_t>(kBarWidth - filled), '.') + "]";
}

} // namespace

Progress::Progress(int blocks)
    : m_nBlocks(std::max(blocks, 1)),
      m_nextTime(isatty(STDERR_FILENO) != 0 ? Clock::now() + firstDelay
                                            : Clock::time_point::max()) {}

Progress::~Progress() {
    if (m_bShown)
        std::fputs("\r\033[K", stderr);
}

void Progress::Show(long screens, unsigned int block) {
    if (Clock::now() < m_nextTime)
        return;
    m_nextTime = Clock::now() + interval;
    m_bShown = true;
    const std::string bar = Bar(block + 1L, m_nBlocks);
    std::fprintf(stderr, "\rDrawing screens %s %ld\033[K", bar.c_str(), screens);
}

} // namespace umdview
