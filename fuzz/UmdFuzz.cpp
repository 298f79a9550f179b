// Parses any bytes as a UMD book and asks for everything the book can give.
#include <cstdint>
#include <cstdlib>
#include <new>
#include <string_view>

#include "base/CMemoryStream.h"
#include "base/Handles.h"
#include "umd/CUMDHandler.h"

using namespace QvFormat;

namespace {

// Text to inflate for one input, so that a bomb does not use up a run's time.
constexpr std::int64_t kInflateBudget = 4 << 20;

void Require(bool holds) {
    if (!holds)
        std::abort();
}

CUMDHandler Parse(std::basic_string_view<std::uint8_t> bytes) {
    auto* buffer = static_cast<unsigned char*>(::operator new(bytes.size() + 1));
    bytes.copy(buffer, bytes.size());
    return CUMDHandler(new CMemoryStream(buffer, static_cast<long>(bytes.size())));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    CUMDHandler book = Parse({data, size});
    // Strings come from nodes of at most 255 bytes.
    for (auto get : {&CUMDHandler::GetTitle, &CUMDHandler::GetAuthor, &CUMDHandler::GetYear,
                     &CUMDHandler::GetMonth, &CUMDHandler::GetDay, &CUMDHandler::GetGenre,
                     &CUMDHandler::GetPublisher, &CUMDHandler::GetVendor}) {
        const MallocPtr<unsigned short> text((book.*get)());
        for (std::size_t length = 0; text && text.get()[length] != 0; ++length)
            Require(length < 125);
    }
    for (int i = -1; i <= book.GetChapterCount(); ++i) {
        const MallocPtr<unsigned short> title(book.GetChapterTitle(i));
        for (std::size_t length = 0; title && title.get()[length] != 0; ++length)
            Require(length < 128);
        const bool none = i < 0 || i == book.GetChapterCount();
        Require(!none || (!title && book.GetChapterOffset(i) == -1));
        book.GetChapterOffset(i);
    }
    std::int64_t inflated = 0;
    for (int i = -1; i <= book.GetChunkCount() && inflated < kInflateBudget; ++i) {
        int length = -1;
        const MallocPtr<unsigned char> text(book.GetChunkContent(i, &length));
        Require(text ? length >= 0 && i >= 0 && i < book.GetChunkCount() : length == -1);
        if (text && length > 0)
            inflated += length + text.get()[length - 1] % 2; // the last byte must be ours to read
    }
    return 0;
}
