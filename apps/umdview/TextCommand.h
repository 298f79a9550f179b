#pragma once

#include <string>

namespace umdview {

// umdview text: writes the book's text to standard output as UTF-8, chunk by chunk. `raw` keeps
// paragraph separators; else each is written as a newline. `chapter` asks for that chapter's text
// alone, counted from 1; 0 is for all. A damaged chunk is told on standard error and left out.
// Returns the exit status: 1 when a chunk was damaged.
int RunText(const std::string& path, long chapter, bool raw);

} // namespace umdview
