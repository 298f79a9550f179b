#include "Output.h"

#include <cerrno>
#include <cstdio>
#include <regex>

#include "common/Failure.h"

namespace umdview {

using namespace umdhost;

void WriteOut(std::string_view text) {
    if (std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0)
        return;
    if (errno == EPIPE)
        throw OutputClosed();
    throw Failure("standard output", SystemReason(errno));
}

void Report(const std::string& subject, const std::string& reason) {
    std::fprintf(stderr, "umdview: %s: %s\n", subject.c_str(), reason.c_str());
}

std::string Dump(const Json& json, int indent) {
    return json.dump(indent, ' ', false, Json::error_handler_t::replace);
}

std::string ForTerminal(const std::string& text) {
    static const std::regex ofOneByte("[[:cntrl:]]");      // U+0000 to U+001F, and U+007F
    static const std::regex ofTwoBytes("\xC2[\x80-\x9F]"); // U+0080 to U+009F
    return std::regex_replace(std::regex_replace(text, ofOneByte, " "), ofTwoBytes, "  ");
}

} // namespace umdview
