#define _FILE_OFFSET_BITS 64 // or inodes above 32 bits keep a 32-bit device from its files
#include "base/RegularFile.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstring>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/CUtility.h"

namespace QvFormat {

namespace {

// Fills the array to its end.
bool ReadFully(int descriptor, unsigned char* bytes, std::size_t size) {
    while (size > 0) {
        const ssize_t count = read(descriptor, bytes, size);
        if (count <= 0)
            return false;
        bytes += count;
        size -= static_cast<std::size_t>(count);
    }
    return true;
}

// Most files are read in one call, into `start`.
QVRESULT ReadAll(int descriptor, const unsigned char* magic, std::size_t magicSize,
                 OwnedArray<unsigned char>* bytes, long* size) {
    unsigned char start[4096];
    struct stat status = {};
    if (fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode) || status.st_size > LONG_MAX)
        return QV_E_FAIL;
    const auto count = static_cast<std::size_t>(status.st_size);
    const std::size_t first = std::min(count, sizeof start);
    if (first < magicSize || !ReadFully(descriptor, start, first) ||
        std::memcmp(start, magic, magicSize) != 0)
        return QV_E_FAIL;
    *bytes = NewArray<unsigned char>(count);
    if (!*bytes)
        return QV_E_OUTOFMEMORY;
    *size = static_cast<long>(count);
    unsigned char* rest = std::copy_n(start, first, bytes->get());
    return ReadFully(descriptor, rest, count - first) ? QV_S_OK : QV_E_FAIL;
}

// Takes over an open file; null unless it is a regular one.
FilePtr AsRegularFile(int descriptor, const char* mode) {
    struct stat status = {};
    if (descriptor < 0)
        return nullptr;
    std::FILE* file = fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode)
                          ? fdopen(descriptor, mode)
                          : nullptr;
    if (file)
        std::setvbuf(file, nullptr, _IONBF, 0);
    else
        close(descriptor);
    return FilePtr(file);
}

// --- the temporary file -------------------------------------------------------------------------

// Short enough for any file system, and hidden. The last eight digits follow from the others, so
// that no file of another origin has such a name.
struct TemporaryName {
    char text[32];

    TemporaryName(unsigned int process, unsigned int serial) {
        const std::uint64_t both = std::uint64_t{process} << 32 | serial;
        const auto check = static_cast<unsigned int>(both * 0x9E3779B97F4A7C15 >> 32);
        std::snprintf(text, sizeof text, ".qvp~%08x%08x%08x", process, serial, check);
    }

    static TemporaryName Next() {
        static std::atomic<unsigned int> serial{0};
        return {static_cast<unsigned int>(getpid()), serial++};
    }

    static bool IsOne(const char* name) {
        unsigned int process = 0;
        unsigned int serial = 0;
        return std::sscanf(name, ".qvp~%8x%8x", &process, &serial) == 2 &&
               std::strcmp(name, TemporaryName(process, serial).text) == 0;
    }
};

// The lock says that a process is writing the file. Some file systems have none.
bool Lock(std::FILE* file) {
    return flock(fileno(file), LOCK_EX | LOCK_NB) == 0;
}

// A power cut can leave nothing, or zeros, of what was written.
bool BeginsLike(std::FILE* file, const unsigned char* bytes) {
    constexpr unsigned char zeros[3] = {};
    unsigned char start[sizeof zeros];
    const std::size_t count = std::fread(start, 1, sizeof start, file);
    return std::memcmp(start, bytes, count) == 0 || std::memcmp(start, zeros, count) == 0;
}

void RemoveLeftovers(DIR* folder, const unsigned char* bytes) {
    const int at = dirfd(folder);
    while (const dirent* entry = readdir(folder)) {
        if (!TemporaryName::IsOne(entry->d_name))
            continue;
        const FilePtr file = AsRegularFile(
            openat(at, entry->d_name, O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC), "r+b");
        if (file && Lock(file.get()) && BeginsLike(file.get(), bytes))
            unlinkat(at, entry->d_name, 0);
    }
}

// A new file of this process alone. One that another process took for a leftover, because it was
// not locked yet, is left to that process.
FilePtr CreateTemporary(int folder, TemporaryName* name) {
    for (int tries = 0; tries < 16; ++tries, *name = TemporaryName::Next()) {
        FilePtr file = AsRegularFile(
            openat(folder, name->text, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666), "w+b");
        if (!file && errno != EEXIST)
            return nullptr;
        struct stat status = {};
        if (file && (Lock(file.get()) || errno != EWOULDBLOCK) &&
            fstat(fileno(file.get()), &status) == 0 && status.st_nlink != 0)
            return file;
    }
    return nullptr;
}

bool Holds(std::FILE* file, const unsigned char* bytes, std::size_t size) {
    unsigned char read[4096];
    std::rewind(file);
    for (std::size_t count = 0; size > 0; size -= count, bytes += count) {
        count = std::fread(read, 1, std::min(size, sizeof read), file);
        if (count == 0 || std::memcmp(read, bytes, count) != 0)
            return false;
    }
    return std::fgetc(file) == EOF;
}

Replacement Write(std::FILE* file, const unsigned char* bytes, std::size_t size) {
    errno = 0;
    if (std::fwrite(bytes, 1, size, file) == size && fsync(fileno(file)) == 0)
        return Holds(file, bytes, size) ? Replacement::Done : Replacement::Failed;
    return errno == ENOSPC || errno == EDQUOT ? Replacement::Impossible : Replacement::Failed;
}

FolderPtr OpenFolderOf(const char* path) {
    const OwnedArray<char> folder = CopyString(path);
    char* slash = folder ? std::strrchr(folder.get(), '/') : nullptr;
    if (slash)
        slash[slash == folder.get() ? 1 : 0] = '\0';
    return FolderPtr(folder ? opendir(slash ? folder.get() : ".") : nullptr);
}

} // namespace

QVRESULT ReadRegularFile(const char* path, const unsigned char* magic, std::size_t magicSize,
                         OwnedArray<unsigned char>* bytes, long* size) {
    const int descriptor = open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0)
        return QV_E_FAIL;
    const QVRESULT result = ReadAll(descriptor, magic, magicSize, bytes, size);
    close(descriptor);
    return result;
}

FilePtr OpenRegularFile(const char* path) {
    return AsRegularFile(open(path, O_RDWR | O_NONBLOCK | O_CLOEXEC), "r+b");
}

Replacement ReplaceFile(const char* path, const unsigned char* bytes, std::size_t size) {
    const MallocPtr<char> resolved(realpath(path, nullptr));
    const char* target = resolved ? resolved.get() : path;
    const FilePtr old = OpenRegularFile(target);
    const FolderPtr folder = OpenFolderOf(target);
    if (!folder || (!old && CUtility::CheckFileExistence(target)))
        return Replacement::Impossible;
    if (old)
        RemoveLeftovers(folder.get(), bytes);

    const int at = dirfd(folder.get());
    TemporaryName name = TemporaryName::Next();
    const FilePtr file = CreateTemporary(at, &name);
    if (!file)
        return Replacement::Impossible;
    struct stat status = {};
    if (old && fstat(fileno(old.get()), &status) == 0)
        fchmod(fileno(file.get()), status.st_mode & 07777);
    Replacement result = Write(file.get(), bytes, size);
    if (result == Replacement::Done && renameat(at, name.text, AT_FDCWD, target) != 0)
        result = Replacement::Impossible;
    if (result == Replacement::Done)
        fsync(at); // makes the new name durable; where that cannot be, the content is safe anyway
    else
        unlinkat(at, name.text, 0);
    return result;
}

} // namespace QvFormat
