#pragma once

#include <cstddef>

#include "base/Handles.h"

namespace QvFormat {

// Opens a file for reading, or for reading and writing, without a buffer: what is written reaches
// the system in its turn. Null when it cannot be opened, or when the path leads to anything but a
// regular file: a pipe could block, and a device is not ours to read.
FilePtr OpenRegularFile(const char* path, bool bWritable);

enum class Replacement {
    Done,
    Impossible, // no file can be made or renamed in the folder, or the disk is full
    Failed      // the content could not be written as it is
};

// Makes `size` bytes the content of a file in one step, so that there is a complete file at every
// moment, the old one unless the result is Done. An existing file must be regular and writable; it
// gives its permission bits to the new one. A symbolic link goes on pointing: the file it leads to
// is replaced; a link that leads nowhere is replaced itself.
//
// The content is written to a temporary file in the same folder, synced and compared with `bytes`
// before it is renamed. Each temporary file has a name of its own, which no other process uses, and
// is locked by the process that writes it. What a killed process left behind is removed the next
// time a file in the folder is replaced; it is known by its name, its beginning and not being
// locked.
Replacement ReplaceFile(const char* path, const unsigned char* bytes, std::size_t size);

} // namespace QvFormat
