#include "common/Chapters.h"

#include <algorithm>
#include <string_view>

#include "common/Failure.h"
#include "common/TextDecoder.h"

namespace umdhost {

namespace {

constexpr std::size_t kUnitBytes = 2; // of UTF-16

// In the order of the text, those that lie in what the book says is its text.
std::vector<Chapter*> InTextOrder(std::vector<Chapter>& chapters, int declaredBytes) {
    std::vector<Chapter*> sorted;
    for (Chapter& chapter : chapters) {
        if (chapter.offset >= 0 && chapter.offset < declaredBytes)
            sorted.push_back(&chapter);
    }
    std::sort(sorted.begin(), sorted.end(),
              [](const Chapter* a, const Chapter* b) { return a->offset < b->offset; });
    return sorted;
}

std::size_t UnitOf(const Chapter& chapter) {
    return static_cast<std::size_t>(chapter.offset) / kUnitBytes * kUnitBytes;
}

// A place counts bytes of its block's own UTF-8; `text` is what comes before the chapter in its
// block. Where that ends with the first half of a pair, the chapter begins with that half.
void SetPlace(Chapter& chapter, std::string_view text) {
    TextDecoder decoder;
    const std::string before = decoder.Decode(text);
    chapter.place = {static_cast<unsigned int>(UnitOf(chapter) / kBlockBytes),
                     static_cast<unsigned int>(before.size())};
    chapter.begin = UnitOf(chapter) - (decoder.IsInsideCharacter() ? kUnitBytes : 0);
}

// Sets the places of the chapters for which there is text, and returns how many bytes there are.
// One chunk at a time is in memory.
std::size_t SetPlaces(const std::vector<Chapter*>& sorted, const Book& book) {
    std::string blocks;    // the chunk, from the beginning of its first block
    std::size_t begin = 0; // of that in the text
    auto next = sorted.begin();
    for (int index = 0; index < book.ChunkCount(); ++index) {
        const std::optional<std::string> chunk = book.ReadChunk(index);
        if (!chunk)
            break; // what follows lies where nobody can tell
        blocks += *chunk;
        const std::size_t end = begin + blocks.size();
        for (; next != sorted.end() && UnitOf(**next) + kUnitBytes <= end; ++next) {
            const std::size_t inBlock = UnitOf(**next) % kBlockBytes;
            const std::size_t block = UnitOf(**next) - inBlock;
            SetPlace(**next, std::string_view(blocks).substr(block - begin, inBlock));
        }
        const std::size_t whole = blocks.size() / kBlockBytes * kBlockBytes;
        blocks.erase(0, whole);
        begin += whole;
    }
    return begin + blocks.size();
}

// Chapters that begin at the same byte end together.
void SetEnds(const std::vector<Chapter*>& sorted, std::size_t textBytes) {
    std::size_t end = textBytes, next = textBytes;
    for (auto at = sorted.rbegin(); at != sorted.rend(); ++at) {
        Chapter& chapter = **at;
        if (!chapter.place)
            continue;
        if (chapter.begin != next)
            end = next;
        next = chapter.begin;
        chapter.end = end;
    }
}

} // namespace

std::vector<Chapter> ReadChapters(const Book& book) {
    std::vector<Chapter> chapters;
    chapters.reserve(static_cast<std::size_t>(book.ChapterCount()));
    for (int index = 0; index < book.ChapterCount(); ++index)
        chapters.push_back({book.ChapterTitle(index), book.ChapterOffset(index)});
    const std::vector<Chapter*> sorted = InTextOrder(chapters, book.DeclaredBytes());
    if (!sorted.empty())
        SetEnds(sorted, SetPlaces(sorted, book));
    return chapters;
}

Chapter FindChapter(const Book& book, long number) {
    if (number < 1 || number > book.ChapterCount())
        throw Failure(book.Path(), "there is no chapter " + std::to_string(number) +
                                       "; the book has " + std::to_string(book.ChapterCount()));
    Chapter chapter = ReadChapters(book)[static_cast<std::size_t>(number - 1)];
    if (!chapter.place)
        throw Failure(book.Path(),
                      "damaged: chapter " + std::to_string(number) + " lies outside of the text");
    return chapter;
}

} // namespace umdhost
