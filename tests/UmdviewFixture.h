// The reference host, run as a process as people run it.
#pragma once

#include <cstdlib>
#include <string>

#include <nlohmann/json.hpp>
#include <sys/wait.h>
#include <zlib.h>

#include "tests/ReadingDataFixture.h"
#include "tools/UmdBookWriter.h"

namespace umdviewtest {

namespace fs = std::filesystem;
using namespace std::string_literals;
using readingdata::Le32;

struct Result {
    int status;
    std::string out, err;

    std::string All() const { return std::to_string(status) + "|" + out + "|" + err; }
};

inline bool Contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

inline umdbook::Book SmallBook(const std::u16string& text) {
    return {u"孫子\u009b兵法\x1b[31m", u"孫武", u"2008", u"3", u"", u"", u"P", u"V",
            {{u"一", text}},           {}};
}

// Some 30 screens of 600 by 800.
inline std::u16string LongText() {
    std::string text;
    for (int i = 0; i < 300; ++i)
        text +=
            std::to_string(i) +
            " 兵者國之大事死生之地存亡之道不可不察也 The art of war is of vital importance.\u2029";
    return umdbook::ToUtf16(text);
}

inline std::string DataNode(const std::string& content) {
    return "$" + Le32(1) + Le32(static_cast<std::uint32_t>(content.size() + 9)) + content;
}

// A chapter table of any offsets, with titles that are numbers from 0 to 9.
inline std::string ChapterTable(const std::vector<int>& offsets) {
    std::string table, titles;
    for (std::size_t i = 0; i < offsets.size(); ++i) {
        table += Le32(static_cast<std::uint32_t>(offsets[i]));
        titles += "\2"s + static_cast<char>('0' + i) + '\0';
    }
    return "#\x83\0\0\5"s + DataNode(table) + "#\x84\0\0\x09\1\0\0\0"s + DataNode(titles);
}

// The least a book needs, with chunks that hold any bytes; the writer only makes good ones.
inline std::string BookOfChunks(const std::vector<std::string>& chunks, std::uint32_t declared,
                                const std::vector<int>& chapters = {}) {
    std::string book = "....#\x01\0\0\x06\x01#\x0B\0\0\x09"s + Le32(declared) +
                       (chapters.empty() ? "" : ChapterTable(chapters)) + "#\xF1\0\0\x05"s;
    for (const std::string& chunk : chunks) {
        const auto length = static_cast<uLong>(chunk.size());
        uLongf size = compressBound(length);
        std::string stream(size, '\0');
        compress(reinterpret_cast<Bytef*>(stream.data()), &size,
                 reinterpret_cast<const Bytef*>(chunk.data()), length);
        book += DataNode(stream.substr(0, size));
    }
    return book;
}

// Runs in the folder of reading data, so that arguments and messages can name files plainly. The
// book beside the reading data is a long one at first.
class UmdviewTest : public readingdata::Fixture {
protected:
    UmdviewTest() { WriteBook(SmallBook(LongText())); }

    using Fixture::Write, Fixture::Read; // of the reading data
    void Write(const std::string& name, const std::string& bytes) const {
        std::ofstream(m_Folder / name, std::ios::binary) << bytes;
    }
    void WriteBook(const umdbook::Book& book, const umdbook::Options& options = {}) const {
        const umdbook::Bytes bytes = umdbook::WriteBook(book, options);
        Write("book.umd", {bytes.begin(), bytes.end()});
    }
    std::string Read(const fs::path& name) const {
        std::ifstream file(m_Folder / name, std::ios::binary);
        EXPECT_TRUE(file.is_open()) << name;
        return {std::istreambuf_iterator<char>(file), {}};
    }
    bool Exists(const std::string& name) const { return fs::exists(m_Folder / name); }
    std::string Screen(const std::string& folder, int number) const { // up to 9
        return Read(folder + "/screen-000" + std::to_string(number) + ".pgm");
    }

    // Runs "umdview ARGUMENTS" in the folder; the shell sees redirections and what comes before it.
    Result Run(const std::string& arguments, const std::string& before = "") const {
        const std::string command = "cd '" + m_Folder.string() +
                                    "' && export LSAN_OPTIONS=print_suppressions=0:suppressions="
                                    "'" TEST_SOURCE_DIR "/tests/lsan.supp'; { " +
                                    before + " '" TEST_UMDVIEW "' " + arguments +
                                    "; } >stdout 2>stderr </dev/null";
        const int status = std::system(command.c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, Read("stdout"), Read("stderr")};
    }
    nlohmann::json Json(const std::string& arguments) const {
        return nlohmann::json::parse(Run(arguments).out);
    }
    Result Draw(const std::string& folder, const std::string& options,
                const std::string& before = "") const {
        return Run("render book.umd --format pgm --out " + folder + " " + options, before);
    }
};

} // namespace umdviewtest
