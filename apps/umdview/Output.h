#pragma once

#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

namespace umdview {

using Json = nlohmann::ordered_json;

// Thrown when nobody reads standard output any more, as after "| head": the command ends quietly.
struct OutputClosed {};

// Writes to standard output. Throws OutputClosed, or Failure when it cannot be written.
void WriteOut(std::string_view text);

// Prints "umdview: SUBJECT: reason" on standard error; the subject is a file.
void Report(const std::string& subject, const std::string& reason);

// JSON as text, in one line or indented. Bytes that are no UTF-8 become U+FFFD.
std::string Dump(const Json& json, int indent = -1);

// Text from a file, with control characters blanked: they must not reach the terminal.
std::string ForTerminal(std::string text);

} // namespace umdview
