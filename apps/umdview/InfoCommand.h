#pragma once

#include <string>

namespace umdview {

// umdview info: tells what a book is on standard output, for people or as JSON, and what is wrong
// with it on standard error. Returns the exit status: 1 when part of the book is damaged.
int RunInfo(const std::string& path, bool json);

} // namespace umdview
