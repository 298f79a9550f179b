#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace bench {

constexpr const char* kChinese = "art-of-war.txt";
constexpr const char* kEnglish = "alice.txt";
inline const std::vector<const char*> kSamples = {kChinese, kEnglish};

// Books made of the samples, in a folder of their own that goes with the object.
class Books {
public:
    Books();
    ~Books();
    Books(const Books&) = delete;
    Books& operator=(const Books&) = delete;

    // A book with `utf16Bytes` of text, that of the samples over and over or the beginning of the
    // first. Returns its path. Throws std::runtime_error when it cannot be written.
    std::string Make(std::size_t utf16Bytes, const std::vector<const char*>& samples = kSamples,
                     bool chapterTable = true) const;

private:
    std::string m_sFolder;
};

} // namespace bench
