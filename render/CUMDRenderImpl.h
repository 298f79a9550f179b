#pragma once

#include <memory>

#include "IBookInfoEntity.h"
#include "IFormatRender.h"
#include "IQVSequentialStream.h"
#include "ITextLayout.h"
#include "umd/CUMDHandler.h"

namespace QvFormat {

class BookText;
class PageCutter;
class ScreenLines;
struct BookPosition;
struct SegmentText;

// The renderer of one UMD book. It is used by one thread at a time; IFormatRender says what else
// that takes. It owns the stream and the layout it was given, and all that it makes of the book.
//
// The book's text is UTF-16LE content, counted in blocks of 128 bytes. One segment of at most 80
// blocks is loaded at a time: converted to UTF-8 block by block (the segment text) and given to the
// layout from m_nStartOffset on (the layout text). A book position is a block index and a byte
// offset in that block's own UTF-8; it names the same character whichever segment is loaded.
//
// A host that makes the layout itself may go on using its setters: font description, spacing, wrap
// and so on. The lines of the screen shown are then outdated; SetScreenRes, with the same size as
// before or another, says so: the next drawing or turn lays the text out anew from the first
// character of the screen shown.
class UMDFORMAT_API CUMDRenderImpl : public IFormatRender {
public:
    CUMDRenderImpl();
    // Saves the reading position, then releases all it owns.
    ~CUMDRenderImpl() override;

    QVRESULT SetScreenRes(unsigned int width, unsigned int height) override;
    QVRESULT GetScreenRes(unsigned int* width, unsigned int* height) override;
    QVRESULT SetBoldLevel(int level) override;
    QVRESULT GetBoldLevel(int* level) override;
    QVRESULT GotoPrevScreen() override;
    QVRESULT GotoNextScreen() override;
    QVRESULT GotoPosition(float fraction) override;
    QVRESULT DrawCurScreen(QV_IMAGE image, int x, int y) override;
    QVRESULT GetTextRenderForCurPage(IFormatRender** render) override;
    QVRESULT GetTextCustomizer(ITextCustomizer** customizer) override;
    QVRESULT GetTOCMarks(QV_CONTENT_MARK** marks, int* count) override;
    QVRESULT GetPagingHandler(IPagingHandler** handler) override;

    // Opens the book on `stream`, laid out with `layout`; owns both from the moment it accepts its
    // arguments. May be called again for another book, with objects this renderer does not own: the
    // reading position of the previous one is saved first. QV_E_INVALIDARG: null path, nothing was
    // taken over. QV_E_OUTOFMEMORY: no memory. QV_E_FAIL: no book text can be read.
    QVRESULT Initialize(IQVSequentialStream* stream, ITextLayout* layout, char* path);

    // Learns where each chunk's text begins by inflating every chunk once. 1, or 0 on failure.
    int CreatUmdNodeIndexList(); // the spelling is part of the binary interface

    // The UTF-16LE bytes of the segment that begins at `block`, followed by 4 zero bytes; their
    // number is stored in `*length`. The caller releases them with free. Null: no such block, no
    // memory, or the chunks end before the declared text does.
    unsigned char* GetBlockContent(int block, int* length);

    // The segment text of `length` bytes of UTF-16LE, 1 to 10240, followed by zero bytes; fills the
    // block offsets. Invalid sequences, and an odd byte at the end, are left out. The caller
    // releases it with free. Null, with the block offsets as they were: bad arguments, no memory, a
    // character cut at a block's end.
    unsigned char* UnicodeToUtf8(unsigned char const* content, int length);

    // Loads the segment that begins at `block` and lays its text out from UTF-8 byte `offset` on;
    // that character then begins the screen. An offset inside a character moves back to its first
    // byte, one that is not in the text counts as 0. 1, or 0 when the segment cannot be loaded.
    int UmdSetText(int block, int offset);

    // The book position of a byte of the layout text. 1, or 0 with the outputs untouched: no
    // segment is loaded, or the offset is at or past the end of its text.
    int GetBlockInfo(int layoutOffset, int* block, int* offsetInBlock);

    // How many lines fit on a screen, from `line` on or ending before it. 0: there are none, the
    // line is taller than a screen, or (previous) text before the layout text belongs there too.
    // -1: the layout cannot say its size or spacing.
    int GetNextPageLineNum(int line);
    int GetPrevPageLineNum(int line);

    // The first line that begins at or after a byte of the layout text, or the last line.
    int GetLineNumByOffset(int layoutOffset);

    // Writes the position of the screen shown into the book's reading-data file; nothing when no
    // screen has been laid out. Called by the destructor and by Initialize, never by paging.
    void WirteQvp(); // the spelling is part of the binary interface

    // Font settings, see ITextCustomizer; null and empty names are ignored. Names and size are
    // stored, the layout only learns the indent.
    void SetFontSize(unsigned int size);
    void SetEnglishFont(char const* name);
    void SetChineseFont(char const* name);

    // Gives the layout its default description and justified lines. 1, or 0 without a book or
    // without a Chinese font set.
    int SetFontDescription();

    // The operations below stand beside the interface, for hosts that know this class.

    // Does now what the next GotoNextScreen would have to load, for hosts with time between two
    // turns: the layout is given the next segment, and that turn only takes it over. Call it after
    // the screen shown has been drawn, because drawing that screen once more loads its text again.
    // No other operation answers, shows or saves anything else for it. When the next turn has
    // nothing to load, it costs nothing.
    // QV_S_OK: the next turn is prepared or needs nothing. QV_E_FAIL: no screen has been laid out,
    // none follows, or its text cannot be loaded. QV_E_NOTREADY: no book.
    QVRESULT PrepareNextScreen();

    // Shows the nearest screen that can be shown, for use after a turn or a jump that failed
    // because a part of the book cannot be converted or read. `block` is the target block of the
    // jump, or -1 to go on from the screen shown; a nonzero `forward` means towards the end, 0
    // towards the start. Going on shows first what still stands before the unreadable part, then
    // what stands after it. A jump shows the first block with readable text from `block` on, or the
    // last one up to it.
    // `*passedOver`, which may be null, gets the bytes of the book's UTF-16 text that were left
    // out, in whole blocks; with QV_E_FAIL, all those from there to the end or the start of the
    // book. QV_S_OK: a screen is shown, without anything left out when `*passedOver` is 0.
    // QV_E_FAIL: there is nothing to show in that direction; the screen stays.
    // QV_E_NOTREADY: no book. QV_E_INVALIDARG: no such block. Both leave `*passedOver` alone.
    QVRESULT GotoReadableScreen(int block, int forward, int* passedOver);

    // Stores the book position of the first character of the screen shown, or of the place that
    // will be shown first while nothing has been laid out. UmdSetText(block, offsetInBlock) goes
    // there. 1, or 0 with the outputs untouched: no book, or a null pointer.
    int GetCurPosition(int* block, int* offsetInBlock);

    // The number of blocks of the book; 0 without a book.
    int GetBlockCount();

protected:
    UMDFORMAT_HIDDEN void ReleaseBook();
    UMDFORMAT_HIDDEN QVRESULT OpenBook(IQVSequentialStream* stream, ITextLayout* layout,
                                       char const* path);
    UMDFORMAT_HIDDEN BookText Text() const;
    UMDFORMAT_HIDDEN std::unique_ptr<SegmentText>& Ahead() const; // null: nothing is loaded ahead
    UMDFORMAT_HIDDEN bool IsAhead(const BookPosition& place) const;
    UMDFORMAT_HIDDEN void GiveToLayout(const SegmentText& segment);
    UMDFORMAT_HIDDEN bool TakeOver(const SegmentText& segment);
    UMDFORMAT_HIDDEN bool Load(const SegmentText& segment);
    UMDFORMAT_HIDDEN bool LoadReadable(const BookPosition& place);
    UMDFORMAT_HIDDEN void MarkLinesOutdated();
    UMDFORMAT_HIDDEN ScreenLines Lines() const;
    UMDFORMAT_HIDDEN int TextLineCount() const;
    UMDFORMAT_HIDDEN bool BeginsAtBookStart() const;
    UMDFORMAT_HIDDEN BookPosition PlaceShown();
    UMDFORMAT_HIDDEN bool FindNextScreen(int* line, BookPosition* place);
    UMDFORMAT_HIDDEN QVRESULT LoadScreenBefore(const PageCutter& screen);
    UMDFORMAT_HIDDEN QVRESULT ShowScreenBefore(const BookPosition& place,
                                               const SegmentText& segment,
                                               const PageCutter& screen);
    UMDFORMAT_HIDDEN QVRESULT JumpToReadable(const BookPosition& place, int step, int* passedOver);
    UMDFORMAT_HIDDEN QVRESULT StepBackToReadable(const BookPosition& place, int* passedOver);

    std::unique_ptr<IBookInfoEntity> m_pBookInfoEntity;
    std::unique_ptr<ITextLayout> m_pLayout;
    std::unique_ptr<CUMDHandler> m_pUmdHandler; // a ShownBook
    std::unique_ptr<char[]> m_pChineseFont;
    std::unique_ptr<char[]> m_pEnglishFont;
    unsigned int m_nFontSize = 0;
    int m_nBlockSize = 128;      // bytes of content
    int m_nSegmentBytes = 10240; // bytes of content
    int m_nBlocksPerSegment = 80;
    int m_bInitialized = 0;
    int m_bFontChanged = 1;
    int m_nFirstBlock = 0;    // of the loaded segment, or of the one to load first
    int m_nStartOffset = 0;   // byte of the segment text at which the layout text begins
    int m_nSegmentBlocks = 0; // blocks in the loaded segment
    std::unique_ptr<int[]> m_pChunkOffsets; // content offset of each chunk, and of the end
    std::unique_ptr<int[]> m_pBlockOffsets; // segment-text offset of each block, and of the end
    int m_nLineCount = -1;                  // -1 without a line table
    int m_nCurLine = -1; // first line of the screen shown; -1 when none has been laid out
    // Null while the lines of the screen shown are outdated, which the layout text then begins
    // with.
    std::unique_ptr<QVLayoutLineInfo[]> m_pLineTable;
    int m_nContentLength = 0; // bytes
    int m_nBlockCount = 0;
};

static_assert(sizeof(void*) != 4 || sizeof(CUMDRenderImpl) == 88);

} // namespace QvFormat
