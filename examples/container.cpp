// The container alone, without a layout or a font: a book's title and chapters, and its text as
// UTF-8 on standard output:
//   container BOOK
#include <cstdio>
#include <memory>
#include <string>

#include "base/CFileStream.h"
#include "base/CUtility.h"
#include "umd/CUMDHandler.h"

namespace {

using namespace QvFormat;

// UTF-16LE takes at most 3 bytes of UTF-8 for 2.
std::string ToUtf8(const void* text, unsigned int size) {
    std::string utf8(size / 2 * 3 + 3, '\0');
    unsigned long written = 0;
    CUtility::ConvertEncoding(CharsetUTF8, CharsetUTF16LE, static_cast<const char*>(text), size,
                              utf8.data(), static_cast<unsigned int>(utf8.size()), &written, 1, 0);
    utf8.resize(written);
    return utf8;
}

// A string that a handler hands out ends with a zero unit and is released with free.
std::string TakeString(unsigned short* units) {
    const MallocPtr<unsigned short[]> owner(units);
    unsigned int count = 0;
    while (units && units[count] != 0)
        ++count;
    return units ? ToUtf8(units, 2 * count) : std::string();
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2)
        return 2;
    CUMDHandler book(new CFileStream(reinterpret_cast<unsigned char*>(argv[1]), FileOpenRead));
    if (book.GetContentLength() <= 0)
        return 1;
    std::printf("title: %s\n", TakeString(book.GetTitle()).c_str());
    for (int i = 0; i < book.GetChapterCount(); ++i)
        std::printf("chapter at byte %d: %s\n", book.GetChapterOffset(i),
                    TakeString(book.GetChapterTitle(i)).c_str());
    std::string content; // a character may begin in one chunk and end in the next
    for (int i = 0; i < book.GetChunkCount(); ++i) {
        int length = 0;
        const MallocPtr<unsigned char[]> chunk(book.GetChunkContent(i, &length));
        if (!chunk)
            return 1;
        content.append(reinterpret_cast<char*>(chunk.get()), static_cast<std::size_t>(length));
    }
    std::puts(ToUtf8(content.data(), static_cast<unsigned int>(content.size())).c_str());
    return 0;
}
