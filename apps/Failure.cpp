#include "Failure.h"

#include <cstdio>
#include <system_error>

namespace umdview {

std::string SystemReason(int error) {
    return std::generic_category().message(error);
}

void Report(const std::string& subject, const std::string& reason) {
    std::fprintf(stderr, "umdview: %s: %s\n", subject.c_str(), reason.c_str());
}

} // namespace umdview
