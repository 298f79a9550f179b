#include <clocale>
#include <cstdint>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "base/CUtility.h"

using namespace QvFormat;
using namespace std::string_literals;

namespace {

constexpr int kDiscard = 1;
constexpr int kTransliterate = 2;

// The converted bytes, "failed" or "invalid". The output buffer has exactly `room` bytes.
std::string Convert(int to, int from, const std::string& in, int flags, unsigned int room = 64) {
    const std::unique_ptr<char[]> out(new char[room]);
    unsigned long written = 12345;
    const QVRESULT result = CUtility::ConvertEncoding(
        CharsetEncoding(to), CharsetEncoding(from), in.data(), static_cast<unsigned int>(in.size()),
        out.get(), room, &written, flags & kDiscard, flags & kTransliterate);
    if (result == QV_S_OK)
        return std::string(out.get(), written);
    EXPECT_EQ(written, 12345u);
    return result == QV_E_FAIL ? "failed" : "invalid";
}

TEST(Rectangles, IntersectionIsWhatBothHoldAndEmptyMeansEqualEdges) {
    const struct {
        QV_RECT other, common;
    } rows[] = {{{5, 6, 20, 20}, {5, 6, 10, 10}},  {{10, 0, 20, 10}, {0, 0, 0, 0}},
                {{0, 10, 10, 20}, {0, 0, 0, 0}},   {{-5, -5, 1, 2}, {0, 0, 1, 2}},
                {{-5, 9, 99, 11}, {0, 9, 10, 10}}, {{8, 8, 2, 2}, {0, 0, 0, 0}}};
    for (const auto& [other, common] : rows) {
        const QV_RECT found = CUtility::GetIntersectRect({0, 0, 10, 10}, other);
        EXPECT_TRUE(found.left == common.left && found.top == common.top &&
                    found.right == common.right && found.bottom == common.bottom);
    }
    EXPECT_TRUE(CUtility::IsEmptyRect({3, 3, 3, 9}) && CUtility::IsEmptyRect({3, 9, 5, 9}));
    EXPECT_FALSE(CUtility::IsEmptyRect({5, 5, 2, 9}));
}

TEST(Encodings, EveryNamedOneConvertsThereAndBackAndOthersHaveNoName) {
    const std::string ideograph = "\xE4\xB8\xAD";
    const std::uint32_t inEach[] = {0xA4A4,     0xD6D0, 0xE4B8AD, 0x2D4E, 0x4E2D,
                                    0x2D4E0000, 0x4E2D, 0xC3E6,   0x9286, 0xF1E9};
    for (int value = CharsetBig5; value <= CharsetEUCKR; ++value) {
        const std::string bytes = Convert(value, CharsetUTF8, ideograph, 0);
        std::uint32_t number = 0;
        for (const char byte : bytes)
            number = number << 8 | static_cast<unsigned char>(byte);
        EXPECT_EQ(number, inEach[value - 1]) << value;
        EXPECT_EQ(Convert(CharsetUTF8, value, bytes, 0), ideograph) << value;
    }
    for (const int value : {0, 11, 12, -1, 1000})
        EXPECT_STREQ(CUtility::GetEncodingString(static_cast<CharsetEncoding>(value)), "");
}

TEST(Encodings, UnknownValueStandsForTheLocale) {
    const std::string before = std::setlocale(LC_CTYPE, nullptr);
    std::setlocale(LC_CTYPE, "C");
    EXPECT_EQ(Convert(CharsetUTF16LE, 0, "ab", 0), "a\0b\0"s);
    // A fullwidth question mark has a form; a character without one must not become "?".
    EXPECT_EQ(Convert(0, CharsetUTF8, "\xEF\xBC\x9F!", kTransliterate), "?!");
    EXPECT_EQ(Convert(0, CharsetUTF8, "A\xE4\xB8\xAD", kTransliterate), "failed");
    std::setlocale(LC_CTYPE, before.c_str());
}

TEST(ConvertEncoding, BadArgumentsAreRefusedAndOptionalNullAccepted) {
    const auto convert = [](const char* in, char* out) {
        return CUtility::ConvertEncoding(CharsetUTF8, CharsetBig5, in, 0, out, 0, nullptr, 0, 0);
    };
    char byte = 0;
    EXPECT_EQ(convert(&byte, &byte), QV_S_OK);
    EXPECT_EQ(convert(nullptr, &byte), QV_E_INVALIDARG);
    EXPECT_EQ(convert(&byte, nullptr), QV_E_INVALIDARG);
    for (const int none : {11, 12})
        EXPECT_EQ(Convert(none, 3, "", 0) + Convert(3, none, "", 0), "invalidinvalid");
}

TEST(ConvertEncoding, DamagedInputFailsOrIsLeftOutAndCutInputFailsEitherWay) {
    const std::string no = "failed", clef = "\xF0\x9D\x84\x9E";
    const struct {
        int from;
        std::string in, strict, discarding;
    } rows[] = {{CharsetUTF16LE, "\0\0\xFF\xFE"s, "\0\xEF\xBB\xBF"s, "\0\xEF\xBB\xBF"s},
                {CharsetUTF16LE, "Y\0\x1E\xDDZ\0\x1E\xDD"s, no, "YZ"},
                {CharsetUTF16LE, "\x34\xD8\x34\xD8\x1E\xDD", no, clef},
                {CharsetUTF16LE, "Y\0\x34\xD8"s, no, no},
                {CharsetUTF16BE, "\xD8\x34\0Y\xDD\x1E"s, no, "Y"},
                {CharsetUTF32LE, "\0\xD8\0\0Y\0\0\0"s, no, "Y"},
                {CharsetUTF32BE, "\0\x11\0\0\0\0\0Y"s, no, "Y"},
                {CharsetUTF8, "Y\x80\xE4\xB8Z", no, "YZ"},
                {CharsetUTF8, "Y\xE4\xB8", no, no},
                {CharsetUTF8, "Y\xF4\x8F\xBF\xBFZ\xF4\x90\x80\x80", no, "Y\xF4\x8F\xBF\xBFZ"},
                {CharsetUTF8, "Y\xF7\xBF\xBF\xBFZ\xF8\x88\x80\x80\x80\xE4\xB8\xFF!", no, "YZ!"},
                {CharsetBig5, "\xA4\xA4\xA4 Z", no, "\xE4\xB8\xAD Z"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.in));
        EXPECT_EQ(Convert(CharsetUTF8, row.from, row.in, 0), row.strict);
        EXPECT_EQ(Convert(CharsetUTF8, row.from, row.in, kDiscard), row.discarding);
    }
}

TEST(ConvertEncoding, CharacterTheTargetLacksIsReplacedDroppedOrRefused) {
    // What comes without flags, discarding, transliterating, and with both.
    const struct {
        std::string in, out[4];
    } rows[] = {{"Y\xC2\xABZ", {"failed", "YZ", "Y<<Z", "Y<<Z"}},
                {"\xED\x95\x9C?", {"failed", "?", "failed", "?"}},
                {"\xC2\xAB\x80\xC2\xAB", {"failed", "", "failed", "<<<<"}}};
    for (const auto& row : rows) {
        for (int flags = 0; flags <= (kDiscard | kTransliterate); ++flags)
            EXPECT_EQ(Convert(CharsetBig5, CharsetUTF8, row.in, flags), row.out[flags]) << flags;
    }
}

TEST(ConvertEncoding, RoomMustHoldTheWholeOutput) {
    const std::string in = "Y\0\x2D\x4E\x1E\xDD\x34\xD8\x1E\xDD"s;
    for (unsigned int room = 0; room <= 8; ++room)
        EXPECT_EQ(Convert(CharsetUTF8, CharsetUTF16LE, in, kDiscard, room),
                  room < 8 ? "failed" : "Y\xE4\xB8\xAD\xF0\x9D\x84\x9E");
    EXPECT_EQ(Convert(CharsetBig5, CharsetUTF8, "Y\xC2\xAB", kTransliterate, 2), "failed");
    EXPECT_EQ(Convert(CharsetBig5, CharsetUTF8, "Y\xC2\xAB", kTransliterate, 3), "Y<<");
}

TEST(Strings, EndWithComparesFromTheEnd) {
    const struct {
        const char *string, *suffix;
        int asIs, ignoringCase;
    } rows[] = {{"BOOK.UMD", ".umd", 0, 1}, {"BOOK.umd", ".umd", 1, 1},
                {"umd", ".umd", 0, 0},      {"", "", 1, 1},
                {nullptr, "", 0, 0},        {"x", nullptr, 0, 0},
                {"a@", "a`", 0, 0},         {"a[", "a{", 0, 0},
                {"\xC4", "\xE4", 0, 0}};
    for (const auto& row : rows) {
        EXPECT_EQ(CUtility::StringEndWith(row.string, row.suffix, 0), row.asIs);
        EXPECT_EQ(CUtility::StringEndWith(row.string, row.suffix, 2), row.ignoringCase);
    }
}

TEST(Strings, ReplaceCharChangesEveryTargetUpToTheTerminator) {
    std::string text = "a-b-\0-"s;
    EXPECT_EQ(CUtility::ReplaceChar(text.data(), '_', '-'), text.data());
    CUtility::ReplaceChar(text.data(), 'x', '\0');
    EXPECT_EQ(text, "a_b_\0-"s);
    EXPECT_EQ(CUtility::ReplaceChar(nullptr, 'a', 'b'), nullptr);
}

TEST(Files, OnlyACertainlyMissingOneDoesNotExist) {
    EXPECT_TRUE(CUtility::CheckFileExistence("/dev"));
    EXPECT_TRUE(CUtility::CheckFileExistence("/dev/null/below a file"));
    for (const char* const missing : {"/dev/no such file", "", static_cast<const char*>(nullptr)})
        EXPECT_EQ(CUtility::CheckFileExistence(missing), 0);
}

} // namespace
