#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include <iconv.h>

namespace bench {

// A book's text by stdio, zlib and iconv alone: the yardstick for opening and loading.
class BareBook {
public:
    explicit BareBook(const std::string& path);
    ~BareBook();
    BareBook(const BareBook&) = delete;
    BareBook& operator=(const BareBook&) = delete;

    // Opens the file anew, reads and inflates every chunk. Returns the text's bytes.
    int InflateAll() const;

    // `length` bytes of UTF-16LE from `contentOffset` on, as UTF-8; cut short at the book's end.
    std::string Text(int contentOffset, int length) const;

private:
    struct Chunk {
        long offset; // in the file
        int length;
        int contentOffset;
        int contentLength; // inflated, bytes
    };

    std::string Content(int begin, int end) const;
    std::string ToUtf8(std::string content) const;
    int Inflate(std::FILE* file, const Chunk& chunk, unsigned char* text) const;

    std::string m_sPath;
    std::vector<Chunk> m_Chunks;
    int m_nContentLength = 0; // bytes
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> m_pFile;
    iconv_t m_pConverter;
};

} // namespace bench
