#pragma once

#include <string>

namespace bench {

// Opens a book, pages through it drawing every screen and prints one line of numbers: what
// PrintPagingMemory reads back. To be run in a process of its own.
void PageThrough(const std::string& path);

// One row of the memory table, measured by `program --page-through` in a fresh process.
void PrintPagingMemory(const std::string& program, const std::string& size,
                       const std::string& path);

} // namespace bench
