#pragma once

#include <cstddef>

#include "QvResult.h"
#include "base/Handles.h"
#include "base/OwnedArray.h"

namespace QvFormat {

// Both refuse a path that leads to anything but a regular file: a pipe could block, and a device is
// not ours to read.
//
// Reads a whole file that begins with the bytes of `magic`; what is stored counts on success only.
// QV_E_FAIL: it cannot be opened or read, or begins otherwise, and no memory was taken for it.
// QV_E_OUTOFMEMORY: for its content.
QVRESULT ReadRegularFile(const char* path, const unsigned char* magic, std::size_t magicSize,
                         OwnedArray<unsigned char>* bytes, long* size);

// Opens a file for reading and writing, without a buffer: what is written reaches the system in its
// turn. Null when it cannot be opened.
FilePtr OpenRegularFile(const char* path);

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
