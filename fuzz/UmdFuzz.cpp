// Parses any bytes as a UMD book and asks for everything the book can give.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include "base/CMemoryStream.h"
#include "base/Handles.h"
#include "umd/CUMDHandler.h"

namespace {

using QvFormat::CMemoryStream;
using QvFormat::CUMDHandler;
using QvFormat::MallocPtr;

// Text to inflate for one input, so that a bomb does not use up a run's time.
constexpr std::int64_t inflateBudget = 4 << 20;

// A data node is at least 9 bytes, so a book has fewer chunks than this allows.
constexpr std::size_t leastChunkBytes = 9;

void Require(bool holds) {
    if (!holds)
        std::abort();
}

std::unique_ptr<CUMDHandler> Parse(const std::uint8_t* data, std::size_t size) {
    auto* buffer = static_cast<unsigned char*>(::operator new(size + 1));
    if (size > 0)
        std::memcpy(buffer, data, size);
    return std::make_unique<CUMDHandler>(new CMemoryStream(buffer, static_cast<long>(size)));
}

// Strings come from nodes of at most 255 bytes.
void CheckString(MallocPtr<unsigned short> first, MallocPtr<unsigned short> second) {
    Require((first != nullptr) == (second != nullptr));
    if (!first)
        return;
    std::size_t length = 0;
    while (first.get()[length] != 0)
        ++length;
    Require(first != second && length <= 125);
    Require(std::memcmp(first.get(), second.get(), sizeof(unsigned short) * (length + 1)) == 0);
}

void CheckStrings(CUMDHandler& book) {
    using Getter = unsigned short* (CUMDHandler::*)();
    const Getter getters[] = {&CUMDHandler::GetTitle,     &CUMDHandler::GetAuthor,
                              &CUMDHandler::GetYear,      &CUMDHandler::GetMonth,
                              &CUMDHandler::GetDay,       &CUMDHandler::GetGenre,
                              &CUMDHandler::GetPublisher, &CUMDHandler::GetVendor};
    for (Getter get : getters)
        CheckString(MallocPtr<unsigned short>((book.*get)()),
                    MallocPtr<unsigned short>((book.*get)()));
}

void CheckChunks(CUMDHandler& book, std::size_t size) {
    const int count = book.GetChunkCount();
    Require(count >= 0 && static_cast<std::size_t>(count) <= size / leastChunkBytes);
    int length = -1;
    Require(!book.GetChunkContent(-1, &length) && !book.GetChunkContent(count, &length));
    std::int64_t inflated = 0;
    for (int i = 0; i < count && inflated < inflateBudget; ++i) {
        length = -1;
        const MallocPtr<unsigned char> text(book.GetChunkContent(i, &length));
        Require(text ? length >= 0 : length == -1);
        if (text && length > 0)
            inflated += length + text.get()[length - 1] % 2; // the last byte must be ours to read
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::unique_ptr<CUMDHandler> book = Parse(data, size);
    CheckStrings(*book);
    CheckChunks(*book, size);
    return 0;
}
