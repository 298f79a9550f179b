// Owning pointers for what C libraries hand out; each release call stands here once.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <memory>

#include <dirent.h>

namespace QvFormat {

// Releases memory with free.
struct FreeDeleter {
    void operator()(void* memory) const { std::free(memory); }
};

// Memory from malloc, calloc or realloc.
template<typename T>
using MallocPtr = std::unique_ptr<T, FreeDeleter>;

// Closes a file of stdio.
struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

// An open file.
using FilePtr = std::unique_ptr<std::FILE, FileCloser>;

// Closes a folder that is being listed.
struct FolderCloser {
    void operator()(DIR* folder) const { closedir(folder); }
};

// A folder that is being listed.
using FolderPtr = std::unique_ptr<DIR, FolderCloser>;

} // namespace QvFormat
