// The reference host, run as a process as people run it.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>
#include <zlib.h>

#include "tools/UmdBookWriter.h"

namespace umdviewtest {

namespace fs = std::filesystem;
using umdbook::Bytes;

struct Result {
    int status;
    std::string out;
    std::string err;
};

inline std::string Read(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

inline bool Contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

// Works in a folder of its own, so that arguments and messages can name files plainly.
class UmdviewTest : public testing::Test {
protected:
    void SetUp() override {
        fs::create_directories(m_folder);
        Write("suppressions", "leak:libfontconfig\n"); // as in TestMain.cpp
    }
    void TearDown() override { fs::remove_all(m_folder); }

    void Write(const std::string& name, const std::string& bytes) const {
        std::ofstream(m_folder / name, std::ios::binary) << bytes;
    }
    void Write(const std::string& name, const Bytes& bytes) const {
        Write(name, std::string(bytes.begin(), bytes.end()));
    }

    // Runs "umdview ARGUMENTS" in the folder; the shell sees redirections and what comes before it.
    Result Run(const std::string& arguments, const std::string& before = "") const {
        const std::string command = "cd '" + m_folder.string() +
                                    "' && export LSAN_OPTIONS=print_suppressions=0:"
                                    "suppressions=suppressions; { " +
                                    before + " '" TEST_UMDVIEW "' " + arguments +
                                    "; } >stdout 2>stderr </dev/null";
        const int status = std::system(command.c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, Read(m_folder / "stdout"),
                Read(m_folder / "stderr")};
    }

    std::string Image(const std::string& folder, const std::string& name) const {
        return Read(m_folder / folder / name);
    }

    std::size_t FileCount(const std::string& folder) const {
        return static_cast<std::size_t>(
            std::distance(fs::directory_iterator(m_folder / folder), fs::directory_iterator()));
    }

    fs::path m_folder = fs::path(testing::TempDir()) /
                        ("umdview-" + std::to_string(getpid()) + "-" +
                         testing::UnitTest::GetInstance()->current_test_info()->name());
};

inline umdbook::Book SmallBook(const std::u16string& text) {
    return {u"孫子\u009b兵法\x1b[31m", u"孫武", u"2008", u"3", u"", u"", u"P", u"V",
            {{u"一", text}},           {}};
}

// Some 30 screens of 600 by 800.
inline std::u16string LongText() {
    std::u16string text;
    for (int i = 0; i < 300; ++i)
        text +=
            umdbook::ToUtf16(std::to_string(i)) +
            u" 兵者國之大事死生之地存亡之道不可不察也 The art of war is of vital importance.\u2029";
    return text;
}

// The least a book needs, with chunks that hold any bytes; the writer only makes good ones.
inline std::string BookOfChunks(const std::vector<std::string>& chunks, std::uint32_t declared) {
    const auto number = [](std::size_t value) {
        std::string bytes;
        for (int shift = 0; shift < 32; shift += 8)
            bytes += static_cast<char>(value >> shift);
        return bytes;
    };
    std::string book = "....#\x01" + std::string("\0\0\x06\x01", 4) + "#\x0B" +
                       std::string("\0\0\x09", 3) + number(declared) + "#\xF1" +
                       std::string("\0\0\x05", 3);
    for (const std::string& chunk : chunks) {
        uLongf size = compressBound(static_cast<uLong>(chunk.size()));
        Bytes stream(size);
        compress(stream.data(), &size, reinterpret_cast<const Bytef*>(chunk.data()),
                 static_cast<uLong>(chunk.size()));
        book += "$" + number(1) + number(size + 9) +
                std::string(stream.begin(), stream.begin() + static_cast<std::ptrdiff_t>(size));
    }
    return book;
}

} // namespace umdviewtest
