#pragma once

#include <cstddef>
#include <cstdint>

namespace QvFormat {

// Reads little-endian fields from a run of bytes it does not own and never leaves it. A read that
// does not fit returns false, moves nothing and stores nothing, so that parsing is a chain of
// guarded reads.
class ByteReader {
public:
    ByteReader(const unsigned char* bytes, std::size_t size) : m_pBytes(bytes), m_nSize(size) {}

    std::size_t Position() const { return m_nPosition; }
    std::size_t Remaining() const { return m_nSize - m_nPosition; }

    bool Skip(std::size_t count);
    bool ReadU8(std::uint8_t* value);
    bool ReadU32(std::uint32_t* value);

    // Points `*bytes` at the next `count` bytes, which stay the run's.
    bool ReadBytes(std::size_t count, const unsigned char** bytes);

private:
    const unsigned char* m_pBytes;
    std::size_t m_nSize;
    std::size_t m_nPosition = 0;
};

} // namespace QvFormat
