#include <string>

#include <gtest/gtest.h>

#include "base/ByteReader.h"
#include "base/LittleEndian.h"

using namespace QvFormat;

namespace {

TEST(LittleEndian, IntegerWithHighBitsSetHasItsLowByteFirstAtAnyAlignment) {
    unsigned char bytes[7] = {};
    StoreLE32(bytes + 1, 0x8091A2F3);
    StoreLE16(bytes + 5, 0xC4D5);
    EXPECT_EQ(std::string(bytes + 1, bytes + 7), "\xF3\xA2\x91\x80\xD5\xC4");
    EXPECT_EQ(LoadLE32(bytes + 1), 0x8091A2F3);
    EXPECT_EQ(LoadLE16(bytes + 5), 0xC4D5);
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
