#include <cstring>

#include <gtest/gtest.h>

#include "base/ByteReader.h"
#include "base/LittleEndian.h"

using namespace QvFormat;

namespace {

TEST(LittleEndian, PowersOfTwoAndNeighboursHaveTheirLowByteFirstAtAnyAlignment) {
    for (std::uint64_t bit = 1; bit <= 0x100000000u; bit *= 2) {
        for (const std::uint64_t value : {bit - 1, bit, bit + 1}) {
            unsigned char bytes[9] = {};
            StoreLE32(bytes + 1, static_cast<std::uint32_t>(value));
            StoreLE16(bytes + 5, static_cast<std::uint16_t>(value));
            for (int i = 0; i < 6; ++i)
                EXPECT_EQ(bytes[1 + i], value >> 8 * (i % 4) & 0xFF) << value << " byte " << i;
            EXPECT_EQ(LoadLE32(bytes + 1), value & 0xFFFFFFFF);
            EXPECT_EQ(LoadLE16(bytes + 5), value & 0xFFFF);
        }
    }
}

TEST(ByteReader, RunCutAnywhereStopsAtTheFieldThatIsNotWhole) {
    const unsigned char whole[] = {0xFE, 4, 3, 2, 0x81, 'a', 'b', 'c', 0, 9};
    for (std::size_t size = 0; size <= sizeof whole; ++size) {
        SCOPED_TRACE(size);
        ByteReader reader(whole, size);
        std::uint8_t first = 7;
        std::uint32_t second = 7;
        const unsigned char* third = nullptr;
        EXPECT_EQ(reader.ReadU8(&first) && reader.ReadU32(&second) && reader.ReadBytes(3, &third) &&
                      reader.Skip(2) && !reader.Skip(static_cast<std::size_t>(-1)),
                  size == 10);
        EXPECT_EQ(reader.Position(), size < 1 ? 0u : size < 5 ? 1u : size < 8 ? 5u : size & ~1u);
        EXPECT_EQ(reader.Remaining(), size - reader.Position());
        EXPECT_EQ(first, size < 1 ? 7 : 0xFE);
        EXPECT_EQ(second, size < 5 ? 7 : 0x81020304);
        EXPECT_EQ(third, size < 8 ? nullptr : whole + 5);
    }
}

} // namespace
