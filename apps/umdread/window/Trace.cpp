#include "Trace.h"

#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace umdread {

bool IsTracing() {
    static const bool tracing = std::getenv("UMDREAD_TRACE") != nullptr;
    return tracing;
}

void Trace(const std::string& line) {
    if (!IsTracing())
        return;
    std::fputs((line + "\n").c_str(), stdout);
    std::fflush(stdout);
}

long ProcessTime() {
    timespec now = {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return now.tv_sec * 1000000 + now.tv_nsec / 1000;
}

} // namespace umdread
