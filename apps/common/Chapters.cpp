#include "common/Chapters.h"

#include <algorithm>

#include "common/Failure.h"
#include "common/TextDecoder.h"

namespace umdhost {

namespace {

// What stands before a chapter in its block: a place counts bytes of that block's own UTF-8.
struct Lead {
    std::int64_t offset; // of the chapter in the text, in whole units
    std::size_t index;   // of the chapter
    std::string text; // UTF-16LE, from the block's beginning to the end of the chapter's first unit

    std::int64_t BlockOffset() const { return offset - offset % kBlockBytes; }
    std::int64_t End() const { return offset + kUnitBytes; }

    static constexpr std::int64_t kUnitBytes = 2;
};

std::vector<Chapter> ReadTable(const Book& book) {
    std::vector<Chapter> chapters(static_cast<std::size_t>(book.ChapterCount()));
    for (std::size_t i = 0; i < chapters.size(); ++i) {
        chapters[i].title = book.ChapterTitle(static_cast<int>(i));
        chapters[i].offset = book.ChapterOffset(static_cast<int>(i));
    }
    return chapters;
}

// In the order of the text, those that lie in what the book says is its text.
std::vector<Lead> SortedLeads(const Book& book, const std::vector<Chapter>& chapters) {
    std::vector<Lead> leads;
    for (std::size_t i = 0; i < chapters.size(); ++i) {
        const int offset = chapters[i].offset;
        if (offset >= 0 && offset < book.DeclaredBytes())
            leads.push_back({offset - offset % Lead::kUnitBytes, i, {}});
    }
    std::sort(leads.begin(), leads.end(),
              [](const Lead& a, const Lead& b) { return a.offset < b.offset; });
    return leads;
}

// Gives each lead what the chunk at `from` has of it. A lead can lie across chunks.
void TakeText(std::vector<Lead>& leads, const Chunk& chunk, std::int64_t from) {
    const std::int64_t to = from + static_cast<std::int64_t>(chunk.size);
    auto lead = std::lower_bound(leads.begin(), leads.end(), from,
                                 [](const Lead& a, std::int64_t at) { return a.End() <= at; });
    for (; lead != leads.end() && lead->BlockOffset() < to; ++lead) {
        const std::int64_t first = std::max(lead->BlockOffset(), from);
        const std::int64_t last = std::min(lead->End(), to);
        lead->text.append(reinterpret_cast<const char*>(chunk.bytes.get()) + (first - from),
                          static_cast<std::size_t>(last - first));
    }
}

// Decoding without the chapter's first unit keeps the first half of a pair back, so that an offset
// between two halves leads to the first one.
void SetBegin(Chapter& chapter, const Lead& lead, const Book& book) {
    const auto size = static_cast<std::size_t>(lead.End() - lead.BlockOffset());
    if (lead.text.size() != size)
        return; // the text that is there ends before it
    TextDecoder decoder;
    const std::string before = decoder.Decode(
        reinterpret_cast<const unsigned char*>(lead.text.data()), size - Lead::kUnitBytes);
    const std::int64_t block = lead.offset / kBlockBytes;
    chapter.place = {static_cast<unsigned int>(block), static_cast<unsigned int>(before.size())};
    chapter.percent = book.Percent(block).value_or(0);
    chapter.begin = lead.offset - (decoder.IsInsideCharacter() ? Lead::kUnitBytes : 0);
}

// The leads are in the order of the text, which has `textBytes` bytes.
void SetEnds(std::vector<Chapter>& chapters, const std::vector<Lead>& leads,
             std::int64_t textBytes) {
    std::int64_t end = textBytes, next = textBytes;
    for (auto lead = leads.rbegin(); lead != leads.rend(); ++lead) {
        Chapter& chapter = chapters[lead->index];
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
    std::vector<Chapter> chapters = ReadTable(book);
    std::vector<Lead> leads = SortedLeads(book, chapters);
    std::int64_t textBytes = 0;
    for (int index = 0; index < book.ChunkCount() && !leads.empty(); ++index) {
        const Chunk chunk = book.ReadChunk(index);
        if (chunk.bytes == nullptr)
            break; // what follows lies where nobody can tell
        TakeText(leads, chunk, textBytes);
        textBytes += static_cast<std::int64_t>(chunk.size);
    }
    for (const Lead& lead : leads)
        SetBegin(chapters[lead.index], lead, book);
    SetEnds(chapters, leads, textBytes);
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
