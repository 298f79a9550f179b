#pragma once

#include <chrono>
#include <string>

namespace umdview {

// A line on a terminal's standard error that tells how far a long run has come. Short runs, and
// runs that write to no terminal, show nothing. The line is gone when the object is.
class Progress {
public:
    // `total` 0: not known, so that only the count is shown.
    Progress(std::string label, long total);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // False when there is no terminal to show anything on.
    static bool IsVisible();

    // Tells that `done` screens are done.
    void Show(long done);

private:
    using Clock = std::chrono::steady_clock;

    std::string m_sLabel;
    long m_nTotal;
    bool m_bVisible;
    bool m_bShown = false;
    Clock::time_point m_nextTime;
};

} // namespace umdview
