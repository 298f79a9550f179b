#pragma once

#include <string>

namespace umdread {

// Lines on standard output that tell a test what the window has done, one for each frame on the
// screen, so that it need not guess how long to wait. Switched on by UMDREAD_TRACE in the
// environment.
bool IsTracing();
void Trace(const std::string& line);

// Microseconds that the processor has worked for this process.
long ProcessTime();

} // namespace umdread
