#include "readingdata/QvpRecordFile.h"

#include <memory>
#include <new>

#include <unistd.h>

#include "base/LittleEndian.h"
#include "readingdata/QvpFormat.h"

namespace QvFormat {

namespace {

bool WriteBytes(std::FILE* file, const unsigned char* bytes, std::size_t size) {
    return std::fwrite(bytes, 1, size, file) == size;
}

// The header and the data are one write each: on an unbuffered file a kill falls between them, not
// into the data.
bool WriteRecord(std::FILE* file, const Qvp_Node& node) {
    unsigned char header[QvpFormat::RecordHeaderSize];
    header[0] = static_cast<unsigned char>(node.nType);
    StoreLE32(header + QvpFormat::RecordIdAt, node.nId);
    StoreLE32(header + QvpFormat::RecordLengthAt, node.nLength);
    return WriteBytes(file, header, sizeof header) && WriteBytes(file, node.pData, node.nLength) &&
           std::fflush(file) == 0;
}

// Whether a record still stands where it was found; another writer may have moved the records.
bool IsHeaderOf(const unsigned char* header, const Qvp_Node& node) {
    return LoadLE32(header + QvpFormat::RecordIdAt) == node.nId &&
           LoadLE32(header + QvpFormat::RecordLengthAt) == node.nLength;
}

} // namespace

bool OverwriteQvpRecord(std::FILE* file, const Qvp_Node& node) {
    const std::size_t size = QvpFormat::RecordHeaderSize + std::size_t{node.nLength};
    // Without memory for the old bytes the record is still written, only not put back on failure.
    std::unique_ptr<unsigned char[]> old(new (std::nothrow) unsigned char[size]);
    if (std::fseek(file, node.nOffset, SEEK_SET) != 0)
        return false;
    const std::size_t oldSize = old ? std::fread(old.get(), 1, size, file) : 0;
    if (oldSize >= QvpFormat::RecordHeaderSize && !IsHeaderOf(old.get(), node))
        return false;
    if (std::fseek(file, node.nOffset, SEEK_SET) != 0)
        return false;
    if (WriteRecord(file, node))
        return true;
    std::clearerr(file);
    if (std::fseek(file, node.nOffset, SEEK_SET) == 0 && WriteBytes(file, old.get(), oldSize))
        std::fflush(file);
    return false;
}

bool AppendQvpRecord(std::FILE* file, const Qvp_Node& node, long* offset) {
    if (std::fseek(file, 0, SEEK_END) != 0)
        return false;
    const long end = std::ftell(file);
    if (end < 0)
        return false;
    if (WriteRecord(file, node)) {
        *offset = end;
        return true;
    }
    std::clearerr(file);
    static_cast<void>(!ftruncate(fileno(file), end)); // nothing more can be done when that fails
    return false;
}

} // namespace QvFormat
