#pragma once

#include <string>

namespace umdview {

// umdview info: tells what a book is on standard output, for people or as JSON, and what is wrong
// with it on standard error. Returns the exit status: 1 when part of the book is damaged.
int RunInfo(const std::string& path, bool json);

// umdview text: writes the book's text to standard output as UTF-8, chunk by chunk. `raw` keeps
// paragraph separators; else each is written as a newline. `chapter` asks for that chapter's text
// alone, counted from 1; 0 is for all. A damaged chunk is told on standard error and left out.
// Returns the exit status: 1 when a chunk was damaged.
int RunText(const std::string& path, long chapter, bool raw);

// umdview readingdata: tells what a reading-data file holds on standard output, for people or as
// JSON, and what is damaged in it on standard error. `path` is the file's or its book's. Nothing is
// changed. Returns the exit status: 1 when something is damaged.
int RunReadingData(const std::string& path, bool json);

} // namespace umdview
