#include "Trace.h"

#include <cstdio>
#include <cstdlib>

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

} // namespace umdread
