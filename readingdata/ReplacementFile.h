#pragma once

#include <cstdio>
#include <memory>

#include "base/Handles.h"

namespace QvFormat {

// New content for a file, written beside it and put in its place in one step, so that there is a
// complete file at every moment. What was not put in place is removed by the destructor.
//
// The content stands beside the file under its name with the last character changed to '~': no
// longer than the file's own name, which may be as long as the file system allows. One left behind
// by a power cut is overwritten the next time. A symbolic link goes on pointing: the file it leads
// to is replaced. A link that leads nowhere is replaced itself.
class ReplacementFile {
public:
    ReplacementFile() = default;
    ReplacementFile(const ReplacementFile&) = delete;
    ReplacementFile& operator=(const ReplacementFile&) = delete;
    ~ReplacementFile();

    // Opens the new content for writing, with the permission bits of the file to be replaced.
    // False: it cannot be created, or the file exists and may not be written.
    bool Open(const char* path);

    // Open until Close.
    std::FILE* File() const { return m_pFile.get(); }

    // Makes what was written durable; false when any of it may be missing.
    bool Close();

    // The new content's name, to read it back after Close.
    const char* Path() const { return m_pszPath.get(); }

    // Replaces the file. False: it stays as it was.
    bool PutInPlace();

protected:
    void SyncFolder();

    std::unique_ptr<char[]> m_pszTarget;
    std::unique_ptr<char[]> m_pszPath;
    FilePtr m_pFile;
    bool m_bRemove = false; // the new content exists and is not in place
};

} // namespace QvFormat
