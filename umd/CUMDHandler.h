#pragma once

#include <cstdint>
#include <memory>

#include "QvExport.h"
#include "base/Handles.h"

namespace QvFormat {

class IQVSequentialStream;
struct UMDNode;

// One UMD book: parses the container when it is constructed and hands out the book's text, chunk by
// chunk, its information strings and its chapters. docs/umd-format.md describes the container.
//
// One thread at a time. The handler owns its stream. Buffers and strings handed out come from
// malloc; the caller owns them and releases them with free.
//
// A book that cannot be parsed makes a handler that is not ready: it has no chunks and no content
// length, but still answers with the strings read before the parse failed. Nothing changes a
// handler after construction but the position of its stream.
class UMDFORMAT_API CUMDHandler {
public:
    // Takes ownership of `stream`, which must be able to read and seek, and parses the book. With a
    // null or unsuitable stream or a damaged book the handler is not ready.
    explicit CUMDHandler(IQVSequentialStream* stream);

    // Destroys the stream first, then everything read from it.
    virtual ~CUMDHandler();

    // The number of text chunks; 0 when not ready.
    int GetChunkCount();

    // Bytes of UTF-16LE text that the book says it holds; 0 when it does not say or the handler is
    // not ready. Whatever the book states is passed on, negative values too: the chunks may hold
    // more or less.
    int GetContentLength();

    // Inflates chunk `index`, counted from 0, into a new buffer of UTF-16LE text without terminator
    // and stores the text's size in bytes in `*length`, which must not be null. The text of the
    // book is that of its chunks, one after the other. Nothing is cached. Null, with `*length`
    // untouched: not ready, no such chunk, a chunk that is damaged, cut off or inflates to 2 GiB or
    // more, or no memory.
    unsigned char* GetChunkContent(int index, int* length);

    // New copies of the book's information strings: UTF-16 code units up to the first zero unit,
    // which ends the copy. Dates are text as the book has it. Null: the book has no such string, or
    // no memory. Handlers that are not ready answer too.
    unsigned short* GetTitle();
    unsigned short* GetAuthor();
    unsigned short* GetYear();
    unsigned short* GetMonth();
    unsigned short* GetDay();
    unsigned short* GetGenre();
    unsigned short* GetPublisher();
    unsigned short* GetVendor();

    // The number of entries in the book's chapter table; 0 when not ready or without a table.
    int GetChapterCount();

    // A new copy of the title of chapter `index`, counted from 0, in the form of the strings above.
    // Null: no such chapter, the book has its offset but no title, or no memory.
    unsigned short* GetChapterTitle(int index);

    // Where chapter `index` begins, in bytes of the book's text. Whatever the book states is passed
    // on: an offset may be negative, odd, past the end or out of order. -1: no such chapter.
    int GetChapterOffset(int index);

protected:
    // Text as the file has it, UTF-16LE, with at least one whole zero unit after it.
    using Text = MallocPtr<unsigned char[]>;

    struct ChunkEntry {
        std::int32_t offset; // in the file
        std::int32_t length; // compressed
    };

    struct ChapterEntry {
        std::int32_t offset; // as the book states it, not interpreted
        Text title;          // null until the titles are read
    };

    // What a node means for the parse: go on after it, end with what there is, or fail.
    enum class Step { GoOn, Done, Failed };

    // What follows a node: a data node, something else, or a place no parse goes past.
    enum class Following { DataNode, Other, End };

    // The parse. Returns 1 when the book is complete as far as it goes, 0 when it failed.
    int Initialize();

    // Read a node's header at `offset`. Return 1 and fill `node`, or 0 and leave it as it was.
    int ReadFunctionNode(int offset, UMDNode* node);
    int ReadDataNode(int offset, UMDNode* node);

    // Stores the content of an information node as its string; one that cannot be read is left out.
    void ReadBookInfo(UMDNode* node);

    // Splits `size` bytes of title records into the chapter table. 0: no table, too few records.
    int ParseTitle(const unsigned char* data, int size);

    // Appends a chunk. 0: the list could not grow and stays as it was.
    int AddChunkToList(int offset, int length);

    UMDFORMAT_HIDDEN bool StreamIsUsable();
    UMDFORMAT_HIDDEN bool ReadNextFunctionNode(UMDNode* node);
    UMDFORMAT_HIDDEN Following ReadFollowingDataNode(UMDNode* node);
    UMDFORMAT_HIDDEN Step ReadFunction(UMDNode* node);
    UMDFORMAT_HIDDEN Step ReadBookType(const UMDNode& node);
    UMDFORMAT_HIDDEN Step ReadContentLength(const UMDNode& node);
    UMDFORMAT_HIDDEN Step ReadChapterTable(UMDNode* node);
    UMDFORMAT_HIDDEN Step ReadChapterTitles(UMDNode* node);
    UMDFORMAT_HIDDEN Step ReadChunkRun(UMDNode* node);
    UMDFORMAT_HIDDEN bool StoreChapterOffsets(const unsigned char* table, int count);
    UMDFORMAT_HIDDEN bool ReadTitleBlock(const UMDNode& block);
    UMDFORMAT_HIDDEN Text* InfoString(int type);

    // Bytes read at `offset`, fewer than `count` at the end of the file; -1 when seek or read
    // fails, as a read of 0 bytes does.
    UMDFORMAT_HIDDEN int ReadAt(int offset, unsigned char* buffer, int count);

    // The stream's position; -1 when it cannot be told or is no 32-bit offset.
    UMDFORMAT_HIDDEN int Position();

    // Bytes that the file holds from `offset` on; negative when it ends before or its length is
    // unknown.
    UMDFORMAT_HIDDEN std::int64_t BytesFrom(int offset);
    UMDFORMAT_HIDDEN bool MayHold(int offset, int size);

    int m_bReady = 0;
    std::unique_ptr<IQVSequentialStream> m_pStream;
    int m_nContentLength = 0;
    int m_nChapterCount = 0;
    MallocPtr<ChunkEntry[]> m_pChunks;
    int m_nChunkCount = 0;
    int m_nChunkCapacity = 0;
    std::unique_ptr<ChapterEntry[]> m_pChapters;
    Text m_pTitle;
    Text m_pAuthor;
    Text m_pYear;
    Text m_pMonth;
    Text m_pDay;
    Text m_pGenre;
    Text m_pPublisher;
    Text m_pVendor;
};

static_assert(sizeof(void*) != 4 || sizeof(CUMDHandler) == 68, "part of the binary interface");

} // namespace QvFormat
