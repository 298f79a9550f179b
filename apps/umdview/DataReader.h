#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace umdview {

// Takes data apart from the first byte to the last. The bytes stay their owner's.
class DataReader {
public:
    struct CutOff {}; // thrown where the data end too early

    explicit DataReader(std::string_view data) : m_sRest(data) {}

    std::size_t Left() const { return m_sRest.size(); }

    std::string_view Take(std::size_t count) {
        if (count > m_sRest.size())
            throw CutOff();
        const std::string_view taken = m_sRest.substr(0, count);
        m_sRest.remove_prefix(count);
        return taken;
    }

    // A string and the NUL after it.
    std::string_view String() {
        const std::string_view string = Take(m_sRest.find('\0'));
        Take(1);
        return string;
    }

    // Little-endian integers of one and of four bytes.
    std::uint32_t Byte() { return static_cast<unsigned char>(Take(1).front()); }
    std::uint32_t Integer() {
        std::uint32_t value = 0;
        for (int shift = 0; shift < 32; shift += 8)
            value |= Byte() << shift;
        return value;
    }

private:
    std::string_view m_sRest;
};

} // namespace umdview
