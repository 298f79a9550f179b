#include "common/Book.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <fstream>

#include <sys/stat.h>
#include <unistd.h>

#include "base/Handles.h"
#include "common/Failure.h"
#include "common/TextDecoder.h"

namespace umdhost {

namespace {

constexpr std::streamsize kFirstNode = 4; // the file's signature comes before it
constexpr int kNodeMark = '#';

std::string WhyNoText(const std::string& path, int declaredBytes) {
    if (std::ifstream(path, std::ios::binary).ignore(kFirstNode).get() != kNodeMark)
        return "not a UMD book";
    if (declaredBytes == 0)
        return "damaged, or not a text book: no text found in it";
    return "damaged: it declares " + std::to_string(declaredBytes) +
           " bytes of text but holds none";
}

// Takes over one of the handler's strings: UTF-16 units, ended by a zero.
std::optional<std::string> ToText(unsigned short* string) {
    const QvFormat::MallocPtr<unsigned short> units(string);
    if (units == nullptr)
        return std::nullopt;
    std::string bytes;
    for (const unsigned short* unit = units.get(); *unit != 0; ++unit) {
        bytes += static_cast<char>(*unit & 0xFF);
        bytes += static_cast<char>(*unit >> 8);
    }
    return TextDecoder().Decode(bytes);
}

} // namespace

Book::Book(const std::string& path) : m_sPath(path) {
    // The handler owns the stream from here on.
    m_pHandler = std::make_unique<QvFormat::CUMDHandler>(OpenBookFile(path).release());
    if (ChunkCount() == 0)
        throw Failure(path, WhyNoText(path, DeclaredBytes()));
}

BookStrings Book::Strings() const {
    return {ToText(m_pHandler->GetTitle()),     ToText(m_pHandler->GetAuthor()),
            ToText(m_pHandler->GetYear()),      ToText(m_pHandler->GetMonth()),
            ToText(m_pHandler->GetDay()),       ToText(m_pHandler->GetGenre()),
            ToText(m_pHandler->GetPublisher()), ToText(m_pHandler->GetVendor())};
}

std::int64_t Book::BlockCount() const {
    const std::int64_t bytes = DeclaredBytes();
    return bytes > 0 ? (bytes + kBlockBytes - 1) / kBlockBytes : 0;
}

std::string Book::ChapterTitle(int index) const {
    return ToText(m_pHandler->GetChapterTitle(index)).value_or("");
}

std::optional<double> Book::Percent(std::int64_t block) const {
    if (block < 0 || block >= BlockCount())
        return std::nullopt;
    const auto last = static_cast<double>(std::max<std::int64_t>(BlockCount() - 1, 1));
    return std::round(static_cast<double>(block) / last * 1000) / 10;
}

std::optional<std::string> Book::ReadChunk(int index) const {
    int size = 0;
    const QvFormat::MallocPtr<unsigned char> bytes(m_pHandler->GetChunkContent(index, &size));
    if (bytes == nullptr)
        return std::nullopt;
    return std::string(reinterpret_cast<const char*>(bytes.get()), static_cast<std::size_t>(size));
}

void CheckFile(const std::string& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0 || access(path.c_str(), R_OK) != 0)
        throw Failure(path, SystemReason(errno));
    if (S_ISDIR(status.st_mode))
        throw Failure(path, SystemReason(EISDIR));
    if (!S_ISREG(status.st_mode))
        throw Failure(path, "not a regular file");
    if (status.st_size == 0)
        throw Failure(path, "the file is empty");
}

std::unique_ptr<QvFormat::CFileStream> OpenBookFile(const std::string& path) {
    CheckFile(path);
    return std::make_unique<QvFormat::CFileStream>(
        reinterpret_cast<const unsigned char*>(path.c_str()), QvFormat::FileOpenRead);
}

std::string DamagedChunk(int index, int count) {
    return "damaged: chunk " + std::to_string(index + 1) + " of " + std::to_string(count) +
           " cannot be read";
}

void ExplainRefusal(const std::string& path) {
    const Book book(path);
    for (int index = 0; index < book.ChunkCount(); ++index) {
        if (!book.ReadChunk(index))
            throw Failure(path, DamagedChunk(index, book.ChunkCount()));
    }
    if (book.DeclaredBytes() == 0)
        throw Failure(path, "damaged: the length of its text is missing");
    throw Failure(path, "damaged: a text of " + std::to_string(book.DeclaredBytes()) +
                            " bytes cannot be");
}

} // namespace umdhost
