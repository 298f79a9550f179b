#pragma once

#include <string>
#include <string_view>

namespace umdview {

// Thrown when nobody reads standard output any more, as after "| head": the command ends quietly.
struct OutputClosed {};

// Write to standard output; throw OutputClosed, or Failure when it cannot be written.
void WriteOut(std::string_view text);
void FlushOut();

// Prints "umdview: SUBJECT: reason" on standard error; the subject is a file.
void Report(const std::string& subject, const std::string& reason);

// Text from a file, with control characters blanked: they must not reach the terminal.
std::string ForTerminal(std::string text);

} // namespace umdview
