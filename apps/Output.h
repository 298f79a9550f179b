#pragma once

#include <string_view>

namespace umdview {

// Thrown when nobody reads standard output any more, as after "| head": the command ends quietly.
struct OutputClosed {};

// Write to standard output; throw OutputClosed, or Failure when it cannot be written.
void WriteOut(std::string_view text);
void FlushOut();

} // namespace umdview
