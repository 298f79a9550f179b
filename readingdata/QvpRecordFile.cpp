#include "readingdata/QvpRecordFile.h"

#include <algorithm>
#include <iterator>

#include <fcntl.h>
#include <unistd.h>

#include "base/LittleEndian.h"
#include "base/OwnedArray.h"
#include "readingdata/QvpFormat.h"

namespace QvFormat {

namespace {

void StoreHeader(unsigned char* header, const Qvp_Node& node) {
    header[0] = static_cast<unsigned char>(node.nType);
    StoreLE32(header + QvpFormat::kRecordIdAt, node.nId);
    StoreLE32(header + QvpFormat::kRecordLengthAt, node.nLength);
}

bool WriteAt(std::FILE* file, long offset, const unsigned char* header, const unsigned char* data,
             std::size_t size) {
    return std::fseek(file, offset, SEEK_SET) == 0 &&
           std::fwrite(header, QvpFormat::kRecordHeaderSize, 1, file) == 1 &&
           std::fwrite(data, 1, size, file) == size && std::fflush(file) == 0;
}

// While it is set, what is written goes to the end, wherever that is by then.
void SetAppending(std::FILE* file, bool bAppending) {
    fcntl(fileno(file), F_SETFL, bAppending ? O_APPEND : 0);
}

} // namespace

bool OverwriteQvpRecord(std::FILE* file, const Qvp_Node& node) {
    unsigned char header[QvpFormat::kRecordHeaderSize];
    unsigned char oldHeader[QvpFormat::kRecordHeaderSize];
    StoreHeader(header, node);
    // Id and length are compared, because another writer may have moved the records.
    if (std::fseek(file, node.nOffset, SEEK_SET) != 0 ||
        std::fread(oldHeader, sizeof oldHeader, 1, file) != 1 ||
        !std::equal(header + QvpFormat::kRecordIdAt, std::end(header),
                    oldHeader + QvpFormat::kRecordIdAt))
        return false;
    // Without memory for the old data the record is still written, only not put back on failure.
    const OwnedArray<unsigned char> old = NewArray<unsigned char>(node.nLength);
    const std::size_t oldSize = old ? std::fread(old.get(), 1, node.nLength, file) : 0;
    if (WriteAt(file, node.nOffset, header, node.pData, node.nLength))
        return true;
    WriteAt(file, node.nOffset, oldHeader, old.get(), oldSize);
    return false;
}

// One write, so that nobody else's record can come between the header and the data.
bool AppendQvpRecord(std::FILE* file, const Qvp_Node& node, long* offset) {
    const std::size_t size = QvpFormat::kRecordHeaderSize + std::size_t{node.nLength};
    const OwnedArray<unsigned char> record = NewArray<unsigned char>(size);
    if (!record || std::ferror(file) || std::fseek(file, 0, SEEK_END) != 0)
        return false;
    const long end = std::ftell(file);
    StoreHeader(record.get(), node);
    std::copy_n(node.pData, node.nLength, record.get() + QvpFormat::kRecordHeaderSize);
    SetAppending(file, true);
    const bool isWritten =
        end >= 0 && std::fwrite(record.get(), 1, size, file) == size && std::fflush(file) == 0;
    SetAppending(file, false);
    if (!isWritten) {
        if (ftruncate(fileno(file), end) == 0)
            std::clearerr(file); // else nothing may follow what is left
        return false;
    }
    const long position = lseek(fileno(file), 0, SEEK_CUR); // fails in memory, where nobody appends
    *offset = position < 0 ? end : position - static_cast<long>(size);
    return true;
}

} // namespace QvFormat
