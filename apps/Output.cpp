#include "Output.h"

#include <cerrno>
#include <cstdio>

#include "Failure.h"

namespace umdview {

namespace {

[[noreturn]] void StopWriting(int error) {
    if (error == EPIPE)
        throw OutputClosed();
    throw Failure("standard output", SystemReason(error));
}

} // namespace

void WriteOut(std::string_view text) {
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size())
        StopWriting(errno);
}

void FlushOut() {
    if (std::fflush(stdout) != 0)
        StopWriting(errno);
}

} // namespace umdview
