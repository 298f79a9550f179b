#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "base/CFileStream.h"
#include "umd/CUMDHandler.h"

namespace umdhost {

// The library cuts the text into blocks of this many bytes; places in a book are told in blocks.
constexpr int kBlockBytes = 128;

// What a book says about itself, as UTF-8; none where it says nothing.
struct BookStrings {
    std::optional<std::string> title, author, year, month, day, genre, publisher, vendor;
};

// A book as it lies in its file: descriptions and text, nothing laid out.
class Book {
public:
    // Throws Failure, saying what is wrong with the file, when it has no text that could be read.
    explicit Book(const std::string& path);

    const std::string& Path() const { return m_sPath; }
    BookStrings Strings() const;
    int DeclaredBytes() const { return m_pHandler->GetContentLength(); }
    std::int64_t BlockCount() const; // by the declared length, as the library counts
    int ChunkCount() const { return m_pHandler->GetChunkCount(); }

    // The chapter table as the book has it; see ReadChapters for what it comes to.
    int ChapterCount() const { return m_pHandler->GetChapterCount(); }
    int ChapterOffset(int index) const { return m_pHandler->GetChapterOffset(index); }
    std::string ChapterTitle(int index) const; // empty when there is none

    // How far block `block` is into the book, in percent with one decimal; none outside of it.
    std::optional<double> Percent(std::int64_t block) const;

    // Inflates chunk `index`, counted from 0: one piece of the book's text as UTF-16LE, which may
    // end inside a character. None when the chunk is damaged.
    std::optional<std::string> ReadChunk(int index) const;

private:
    std::string m_sPath;
    std::unique_ptr<QvFormat::CUMDHandler> m_pHandler;
};

// Throws Failure, with the system's reason, for what is no file with something in it that can be
// read: the library reports one failure for everything it cannot open, and would wait at a pipe.
void CheckFile(const std::string& path);

// Opens a book's file for reading. Throws Failure as CheckFile does.
std::unique_ptr<QvFormat::CFileStream> OpenBookFile(const std::string& path);

// Names a damaged chunk, counted from 1 as people do.
std::string DamagedChunk(int index, int count);

// Finds out why the library refuses the book at `path`; throws Failure with the reason.
[[noreturn]] void ExplainRefusal(const std::string& path);

} // namespace umdhost
