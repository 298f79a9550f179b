#include "readingdata/ReplacementFile.h"

#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/CUtility.h"
#include "readingdata/NewArray.h"

namespace QvFormat {

namespace {

std::unique_ptr<char[]> NameBeside(const char* path) {
    std::unique_ptr<char[]> name = CopyString(path);
    if (name) {
        char* last = name.get() + std::strlen(path) - 1;
        *last = *last == '~' ? '#' : '~';
    }
    return name;
}

} // namespace

ReplacementFile::~ReplacementFile() {
    m_pFile.reset();
    if (m_bRemove)
        unlink(m_pszPath.get());
}

bool ReplacementFile::Open(const char* path) {
    if (!*path)
        return false;
    const MallocPtr<char> resolved(realpath(path, nullptr));
    m_pszTarget = CopyString(resolved ? resolved.get() : path);
    m_pszPath = m_pszTarget ? NameBeside(m_pszTarget.get()) : nullptr;
    if (!m_pszPath)
        return false;

    const FilePtr target(std::fopen(m_pszTarget.get(), "r+b"));
    if (!target && CUtility::CheckFileExistence(m_pszTarget.get()))
        return false;
    unlink(m_pszPath.get()); // what a power cut left, whatever it is
    m_pFile.reset(std::fopen(m_pszPath.get(), "wb"));
    m_bRemove = m_pFile != nullptr;
    struct stat status = {};
    if (m_pFile && target && fstat(fileno(target.get()), &status) == 0)
        fchmod(fileno(m_pFile.get()), status.st_mode & 07777);
    return m_pFile != nullptr;
}

bool ReplacementFile::Close() {
    const bool bFlushed = std::fflush(m_pFile.get()) == 0 && !std::ferror(m_pFile.get()) &&
                          fsync(fileno(m_pFile.get())) == 0;
    return std::fclose(m_pFile.release()) == 0 && bFlushed;
}

bool ReplacementFile::PutInPlace() {
    if (std::rename(m_pszPath.get(), m_pszTarget.get()) != 0)
        return false;
    m_bRemove = false;
    SyncFolder();
    return true;
}

// Makes the new name durable. Some file systems cannot; the content is safe either way.
void ReplacementFile::SyncFolder() {
    char* slash = std::strrchr(m_pszPath.get(), '/');
    if (slash)
        slash[slash == m_pszPath.get() ? 1 : 0] = '\0';
    const int folder = open(slash ? m_pszPath.get() : ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0)
        return;
    fsync(folder);
    close(folder);
}

} // namespace QvFormat
