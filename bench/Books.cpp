#include "bench/Books.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "tools/UmdBookWriter.h"

namespace bench {

namespace {

umdbook::Book BookOf(const std::vector<const char*>& samples) {
    umdbook::Book book;
    for (const char* name : samples) {
        std::ifstream file(std::string(BENCH_SAMPLES "/") + name, std::ios::binary);
        const std::string text{std::istreambuf_iterator<char>(file), {}};
        if (text.empty())
            throw std::runtime_error(std::string("no sample ") + name);
        for (umdbook::Chapter& chapter : umdbook::BookFromText(text).chapters)
            book.chapters.push_back(std::move(chapter));
    }
    return book;
}

umdbook::Book Cut(const umdbook::Book& book, std::size_t utf16Bytes) {
    umdbook::Chapter beginning{u"Beginning", book.Text().substr(0, utf16Bytes / 2)};
    beginning.text.back() = u'\u2029';
    umdbook::Book cut;
    cut.chapters.push_back(std::move(beginning));
    return cut;
}

} // namespace

Books::Books() : m_sFolder((std::filesystem::temp_directory_path() / "umdbenchXXXXXX").string()) {
    if (!mkdtemp(m_sFolder.data()))
        throw std::runtime_error(m_sFolder + " cannot be made");
}

Books::~Books() {
    std::filesystem::remove_all(m_sFolder);
}

std::string Books::Make(std::size_t utf16Bytes, const std::vector<const char*>& samples,
                        bool chapterTable) const {
    umdbook::Options options;
    options.chapterTable = chapterTable;
    const umdbook::Book book = BookOf(samples);
    const bool isShort = 2 * book.Text().size() > utf16Bytes;
    const umdbook::Bytes bytes = umdbook::WriteBook(
        isShort ? Cut(book, utf16Bytes) : umdbook::Repeated(book, utf16Bytes), options);
    std::string path = m_sFolder + "/" + std::to_string(utf16Bytes);
    for (const char* sample : samples) // others may have the book of the first one open
        path.append("-").append(sample);
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
    if (!file.flush())
        throw std::runtime_error(path + " cannot be written");
    return path;
}

} // namespace bench
