#pragma once

#include <chrono>

namespace umdview {

// A line on a terminal's standard error that tells how far into a book a long run has come. Short
// runs, and runs that write to no terminal, show nothing. The line is gone when the object is.
class Progress {
public:
    explicit Progress(int blocks);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // Tells that `screens` screens are done, and the block that was reached.
    void Show(long screens, unsigned int block);

private:
    using Clock = std::chrono::steady_clock;

    int m_nBlocks;
    bool m_bShown = false;
    Clock::time_point m_nextTime;
};

} // namespace umdview
