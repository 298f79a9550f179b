#pragma once

#include <string>

namespace umdview {

// umdview readingdata: tells what a reading-data file holds on standard output, for people or as
// JSON, and what is damaged in it on standard error. `path` is the file's or its book's. Nothing is
// changed. Returns the exit status: 1 when something is damaged.
int RunReadingData(const std::string& path, bool json);

} // namespace umdview
