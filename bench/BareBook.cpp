#include "bench/BareBook.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include <zlib.h>

#include "base/CFileStream.h"
#include "umd/CUMDHandler.h"

namespace bench {

namespace {

constexpr std::size_t kInflateBuffer = 33792;

// Where the chunks stand in the file is not what is measured, so it is taken from the library.
class ProbeHandler : public QvFormat::CUMDHandler {
public:
    using CUMDHandler::CUMDHandler;
    using CUMDHandler::m_nChunkCount;
    using CUMDHandler::m_pChunks;
};

std::unique_ptr<unsigned char[]> Allocate(std::size_t size) {
    return std::unique_ptr<unsigned char[]>(new unsigned char[size]);
}

std::unique_ptr<std::FILE, int (*)(std::FILE*)> Open(const std::string& path) {
    return {std::fopen(path.c_str(), "rb"), std::fclose};
}

} // namespace

BareBook::BareBook(const std::string& path)
    : m_sPath(path), m_pFile(Open(path)), m_pConverter(iconv_open("UTF-8", "UTF-16LE")) {
    ProbeHandler handler(new QvFormat::CFileStream(
        reinterpret_cast<const unsigned char*>(path.c_str()), QvFormat::FileOpenRead));
    const auto text = Allocate(kInflateBuffer);
    for (int i = 0; i < handler.m_nChunkCount; ++i) {
        const auto& entry = handler.m_pChunks.get()[i];
        Chunk chunk = {entry.offset, entry.length, m_nContentLength, 0};
        chunk.contentLength = Inflate(m_pFile.get(), chunk, text.get());
        m_nContentLength += chunk.contentLength;
        m_Chunks.push_back(chunk);
    }
}

BareBook::~BareBook() {
    iconv_close(m_pConverter);
}

int BareBook::Inflate(std::FILE* file, const Chunk& chunk, unsigned char* text) const {
    const auto size = static_cast<std::size_t>(chunk.length);
    const auto compressed = Allocate(size);
    uLongf length = kInflateBuffer;
    if (std::fseek(file, chunk.offset, SEEK_SET) != 0 ||
        std::fread(compressed.get(), 1, size, file) != size ||
        uncompress(text, &length, compressed.get(), static_cast<uLong>(size)) != Z_OK)
        throw std::runtime_error(m_sPath + ": damaged chunk");
    return static_cast<int>(length);
}

int BareBook::InflateAll() const {
    const auto file = Open(m_sPath);
    int length = 0;
    for (const Chunk& chunk : m_Chunks)
        length += Inflate(file.get(), chunk, Allocate(kInflateBuffer).get());
    return length;
}

std::string BareBook::Text(int contentOffset, int length) const {
    return ToUtf8(Content(contentOffset, std::min(contentOffset + length, m_nContentLength)));
}

std::string BareBook::Content(int begin, int end) const {
    std::string content;
    content.reserve(static_cast<std::size_t>(end - begin));
    const auto inflated = Allocate(kInflateBuffer);
    for (const Chunk& chunk : m_Chunks) {
        const int from = std::max(begin - chunk.contentOffset, 0);
        const int to = std::min(end - chunk.contentOffset, chunk.contentLength);
        if (from >= to)
            continue;
        Inflate(m_pFile.get(), chunk, inflated.get());
        content.append(reinterpret_cast<char*>(inflated.get()) + from,
                       static_cast<std::size_t>(to - from));
    }
    return content;
}

std::string BareBook::ToUtf8(std::string content) const {
    std::string text(content.size() * 3 / 2, '\0');
    char* in = content.data();
    char* out = text.data();
    std::size_t inLeft = content.size();
    std::size_t outLeft = text.size();
    iconv(m_pConverter, &in, &inLeft, &out, &outLeft);
    text.resize(text.size() - outLeft);
    return text;
}

} // namespace bench
