#include "base/ByteReader.h"

#include "base/LittleEndian.h"

namespace QvFormat {

bool ByteReader::Skip(std::size_t count) {
    if (count > Remaining())
        return false;
    m_nPosition += count;
    return true;
}

bool ByteReader::ReadBytes(std::size_t count, const unsigned char** bytes) {
    const unsigned char* start = m_pBytes + m_nPosition;
    if (!Skip(count))
        return false;
    *bytes = start;
    return true;
}

bool ByteReader::ReadU8(std::uint8_t* value) {
    const unsigned char* bytes = nullptr;
    if (!ReadBytes(1, &bytes))
        return false;
    *value = bytes[0];
    return true;
}

bool ByteReader::ReadU32(std::uint32_t* value) {
    const unsigned char* bytes = nullptr;
    if (!ReadBytes(4, &bytes))
        return false;
    *value = LoadLE32(bytes);
    return true;
}

} // namespace QvFormat
