#include "Output.h"

#include <cerrno>
#include <cstdio>

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

std::string ForTerminal(std::string text) {
    for (char& character : text) {
        if (static_cast<unsigned char>(character) < 0x20 || character == 0x7F)
            character = ' ';
    }
    // U+0080 to U+009F, which are C2 80 to C2 9F in UTF-8.
    for (std::size_t at = text.find('\xC2'); at != std::string::npos;
         at = text.find('\xC2', at + 1)) {
        if (at + 1 < text.size() && static_cast<unsigned char>(text[at + 1]) < 0xA0)
            text.replace(at, 2, "  ");
    }
    return text;
}

} // namespace umdview
