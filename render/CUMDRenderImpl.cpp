#include "render/CUMDRenderImpl.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>
#include <new>
#include <optional>

#include "IBookInfoProxy.h"
#include "base/CUtility.h"
#include "base/Handles.h"
#include "base/LittleEndian.h"
#include "layout/CPangoLayout.h"
#include "layout/PageCutter.h"
#include "readingdata/CBookAnnotationImpl.h"
#include "readingdata/CBookInfoManager.h"
#include "render/CUmdCustomizer.h"

namespace QvFormat {

namespace {

const char kFontDescription[] = "fzlth 18";
constexpr int kDefaultFontSize = 18;
constexpr int kUtf16UnitBytes = 2;

// The id of the book's own records in its reading-data file.
constexpr unsigned int kFileId = 0xFFFFFFFF;

// The bytes of UTF-8 that one byte of UTF-16 can become are 1.5; room is offered for 2, and what is
// left of 3 stays zero behind the text.
constexpr int kUtf8Room = 2;
constexpr int kUtf8Allocated = 3;

bool EndsParagraph(const unsigned char* text, int length) {
    if (length >= 3 && std::memcmp(text + length - 3, "\xe2\x80\xa9", 3) == 0)
        return true;
    return length >= 1 && (text[length - 1] == '\n' || text[length - 1] == '\r');
}

// An offset that is not in the text comes from a damaged record and counts as its start.
int CharacterStart(const unsigned char* text, int length, int offset) {
    if (offset < 0 || offset >= length)
        return 0;
    while (offset > 0 && (text[offset] & 0xC0) == 0x80)
        --offset;
    return offset;
}

// Takes the lines of one screen; none when the layout cannot say its size or spacing.
std::optional<PageCutter> EmptyScreen(ITextLayout* layout) {
    unsigned int width = 0;
    unsigned int height = 0;
    unsigned int spacing = 0;
    if (!layout || !layout->GetLayoutRect(&width, &height) || !layout->GetLineSpacing(&spacing))
        return std::nullopt;
    return PageCutter(height, static_cast<int>(spacing));
}

} // namespace

// --- the object ---------------------------------------------------------------------------------

CUMDRenderImpl::CUMDRenderImpl()
    : m_pBlockOffsets(
          new (std::nothrow) int
              [static_cast<std::size_t>((m_nSegmentBytes + m_nBlockSize - 1) / m_nBlockSize) + 1]) {
}

CUMDRenderImpl::~CUMDRenderImpl() {
    WirteQvp();
    m_pBookInfoEntity.reset();
}

QVRESULT CUMDRenderImpl::SetScreenRes(unsigned int width, unsigned int height) {
    if (!m_bInitialized)
        return QV_S_OK;
    if (!width || !height)
        return QV_E_INVALIDARG;
    m_pLayout->SetLayoutRect(width, height);
    MarkLinesOutdated();
    return QV_S_OK;
}

QVRESULT CUMDRenderImpl::GetScreenRes(unsigned int* width, unsigned int* height) {
    return m_bInitialized ? m_pLayout->GetLayoutRect(width, height) : QV_S_OK;
}

QVRESULT CUMDRenderImpl::SetBoldLevel(int) {
    return QV_E_NOTIMPL;
}

QVRESULT CUMDRenderImpl::GetBoldLevel(int*) {
    return QV_E_NOTIMPL;
}

QVRESULT CUMDRenderImpl::GetTextRenderForCurPage(IFormatRender** render) {
    if (render)
        *render = nullptr;
    return QV_E_NOTIMPL;
}

QVRESULT CUMDRenderImpl::GetTextCustomizer(ITextCustomizer** customizer) {
    if (!m_bInitialized)
        return QV_S_OK;
    if (!customizer)
        return QV_E_POINTER;
    *customizer = new (std::nothrow) CUmdCustomizer(this);
    return *customizer ? QV_S_OK : QV_E_OUTOFMEMORY;
}

QVRESULT CUMDRenderImpl::GetTOCMarks(QV_CONTENT_MARK**, int*) {
    return QV_E_NOTIMPL;
}

QVRESULT CUMDRenderImpl::GetPagingHandler(IPagingHandler** handler) {
    if (handler)
        *handler = nullptr;
    return QV_E_NOTIMPL;
}

// --- fonts --------------------------------------------------------------------------------------

void CUMDRenderImpl::SetFontSize(unsigned int size) {
    if (size == m_nFontSize)
        return;
    m_bFontChanged = 1;
    m_nFontSize = size;
    if (!m_pLayout)
        return;
    m_pLayout->SetIndent(FirstLineIndent());
    MarkLinesOutdated();
}

// Two characters of the font size.
int CUMDRenderImpl::FirstLineIndent() const {
    return static_cast<int>(std::min<unsigned int>(m_nFontSize, INT_MAX / 2)) * 2;
}

void CUMDRenderImpl::SetChineseFont(char const* name) {
    SetFontName(m_pChineseFont, name);
}

void CUMDRenderImpl::SetEnglishFont(char const* name) {
    SetFontName(m_pEnglishFont, name);
}

void CUMDRenderImpl::SetFontName(std::unique_ptr<char[]>& field, char const* name) {
    if (!name || !*name)
        return;
    if (field && std::strcmp(field.get(), name) == 0)
        return;
    const std::size_t size = std::strlen(name) + 1;
    field.reset(new (std::nothrow) char[size]);
    if (!field)
        return;
    std::memcpy(field.get(), name, size);
    m_bFontChanged = 1;
}

int CUMDRenderImpl::SetFontDescription() {
    if (!m_bInitialized || !m_pChineseFont || !m_pLayout)
        return 0;
    m_pLayout->SetFontDescription(kFontDescription);
    m_pLayout->SetJustify(1);
    MarkLinesOutdated();
    m_bFontChanged = 0;
    return 1;
}

// --- opening a book -----------------------------------------------------------------------------

QVRESULT CUMDRenderImpl::Initialize(IQVSequentialStream* stream, ITextLayout* layout, char* path) {
    m_bInitialized = 0;
    if (!path)
        return QV_E_INVALIDARG;
    ReleaseBook();
    const QVRESULT result = OpenBook(stream, layout, path);
    m_bInitialized = result == QV_S_OK;
    return result;
}

// The previous book's position is saved before anything of it goes.
void CUMDRenderImpl::ReleaseBook() {
    WirteQvp();
    m_pBookInfoEntity.reset();
    m_pLayout.reset();
    m_pUmdHandler.reset();
    m_pChunkOffsets.reset();
    m_pLineTable.reset();
    m_nStartOffset = 0;
    m_nFirstBlock = 0;
    m_nCurLine = -1;
    m_nLineCount = -1;
    m_bFontChanged = 1;
    m_nBlockCount = 0;
    m_nContentLength = 0;
    m_nSegmentBlocks = 0;
}

QVRESULT CUMDRenderImpl::OpenBook(IQVSequentialStream* stream, ITextLayout* layout,
                                  char const* path) {
    std::unique_ptr<IQVSequentialStream> ownedStream(stream);
    m_pLayout.reset(layout);
    if (!m_pBlockOffsets)
        return QV_E_OUTOFMEMORY;
    OpenReadingData(path);
    RestorePosition();
    m_pUmdHandler.reset(new (std::nothrow) CUMDHandler(stream));
    if (!m_pUmdHandler)
        return QV_E_FAIL;
    ownedStream.release(); // now the handler's
    if (!m_pLayout || !CreatUmdNodeIndexList())
        return QV_E_FAIL;
    m_nContentLength = m_pUmdHandler->GetContentLength();
    const int roundUp = m_nBlockSize - 1;
    if (m_nContentLength <= 0 || m_nContentLength > INT_MAX - roundUp)
        return QV_E_FAIL;
    m_nBlockCount = (m_nContentLength + roundUp) / m_nBlockSize;
    m_pLayout->SetIndent(m_nFontSize ? FirstLineIndent() : 2 * kDefaultFontSize);
    return QV_S_OK;
}

int CUMDRenderImpl::CreatUmdNodeIndexList() {
    if (!m_pUmdHandler)
        return 0;
    const int count = m_pUmdHandler->GetChunkCount();
    if (!m_pChunkOffsets)
        m_pChunkOffsets.reset(new (std::nothrow) int[static_cast<std::size_t>(count) + 1]());
    if (!m_pChunkOffsets)
        return 0;
    for (int chunk = 0; chunk < count; ++chunk) {
        int size = 0;
        const MallocPtr<unsigned char> text(m_pUmdHandler->GetChunkContent(chunk, &size));
        if (!text || size > INT_MAX - m_pChunkOffsets[chunk])
            return 0;
        m_pChunkOffsets[chunk + 1] = m_pChunkOffsets[chunk] + size;
    }
    return 1;
}

// --- from chunks to laid-out text ---------------------------------------------------------------

// A start on the border of two chunks gives the earlier one, of which nothing is then taken.
int CUMDRenderImpl::FindChunk(int contentOffset) const {
    const int* ends = m_pChunkOffsets.get() + 1;
    const int* last = ends + m_pUmdHandler->GetChunkCount() - 1;
    return static_cast<int>(std::lower_bound(ends, last, contentOffset) - ends);
}

bool CUMDRenderImpl::ReadContent(int contentOffset, int length, unsigned char* bytes) const {
    if (!m_pUmdHandler || !m_pUmdHandler->GetChunkCount())
        return false;
    int chunk = FindChunk(contentOffset);
    int skip = contentOffset - m_pChunkOffsets[chunk];
    while (length > 0) {
        int size = 0;
        const MallocPtr<unsigned char> text(m_pUmdHandler->GetChunkContent(chunk++, &size));
        if (!text || skip > size)
            return false;
        const int count = std::min(length, size - skip);
        std::memcpy(bytes, text.get() + skip, static_cast<std::size_t>(count));
        bytes += count;
        length -= count;
        skip = 0;
    }
    return true;
}

unsigned char* CUMDRenderImpl::GetBlockContent(int block, int* length) {
    if (!length || block < 0 || block >= m_nBlockCount)
        return nullptr;
    const int start = block * m_nBlockSize;
    *length =
        m_nBlockCount - block > m_nBlocksPerSegment ? m_nSegmentBytes : m_nContentLength - start;
    MallocPtr<unsigned char> content(
        static_cast<unsigned char*>(std::calloc(static_cast<std::size_t>(*length) + 4, 1)));
    if (!content || !ReadContent(start, *length, content.get()))
        return nullptr;
    return content.release();
}

// The offsets are kept aside until all blocks are converted, so that a segment that fails leaves
// those of the segment shown.
unsigned char* CUMDRenderImpl::UnicodeToUtf8(unsigned char const* content, int length) {
    if (!content || length <= 0 || length > m_nSegmentBytes || !m_pBlockOffsets)
        return nullptr;
    MallocPtr<unsigned char> text(
        static_cast<unsigned char*>(std::calloc(static_cast<std::size_t>(length), kUtf8Allocated)));
    if (!text)
        return nullptr;
    const int blocks = (length + m_nBlockSize - 1) / m_nBlockSize;
    std::array<int, 81> offsets{};
    for (int i = 0; i < blocks; ++i) {
        const int start = i * m_nBlockSize;
        const int size = std::min(m_nBlockSize, length - start);
        const int room = kUtf8Room * length - offsets[i];
        unsigned long written = 0;
        if (CUtility::ConvertEncoding(
                CharsetUTF8, CharsetUTF16LE, reinterpret_cast<const char*>(content + start),
                static_cast<unsigned int>(size), reinterpret_cast<char*>(text.get() + offsets[i]),
                static_cast<unsigned int>(room), &written, 1, 0) != QV_S_OK)
            return nullptr;
        offsets[i + 1] = offsets[i] + static_cast<int>(written);
    }
    std::copy_n(offsets.begin(), blocks + 1, m_pBlockOffsets.get());
    m_nSegmentBlocks = blocks;
    return text.release();
}

int CUMDRenderImpl::UmdSetText(int block, int offset) {
    int contentLength = 0;
    MallocPtr<unsigned char> content(GetBlockContent(block, &contentLength));
    const MallocPtr<unsigned char> text(UnicodeToUtf8(content.get(), contentLength));
    content.reset();
    if (!text)
        return 0;
    const int length = m_pBlockOffsets[m_nSegmentBlocks];
    offset = CharacterStart(text.get(), length, offset);
    m_pLayout->SetText(reinterpret_cast<const char*>(text.get()) + offset, length - offset);
    // Beyond ITextLayout, whose slots are fixed; another layout takes every text for a paragraph.
    if (auto* pango = dynamic_cast<CPangoLayout*>(m_pLayout.get()))
        pango->SetTextContinues(BeginsInsideParagraph(block, text.get(), offset));
    m_nFirstBlock = block;
    m_nStartOffset = offset;
    m_pLineTable.reset();
    m_nLineCount = -1;
    m_nCurLine = -1;
    QVLayoutLineInfo* table = nullptr;
    unsigned int lines = 0;
    if (!m_pLayout->GetLineTable(&table, &lines))
        return 0;
    m_pLineTable.reset(table);
    m_nLineCount = static_cast<int>(lines);
    m_nCurLine = 0;
    return 1;
}

// At a segment's first byte, the last character of the block before it tells.
bool CUMDRenderImpl::BeginsInsideParagraph(int block, const unsigned char* text, int offset) const {
    if (offset > 0)
        return !EndsParagraph(text, offset);
    unsigned char unit[kUtf16UnitBytes];
    if (block == 0 || !ReadContent(block * m_nBlockSize - kUtf16UnitBytes, kUtf16UnitBytes, unit))
        return false;
    const std::uint16_t character = LoadLE16(unit);
    return character != 0x2029 && character != '\n' && character != '\r';
}

int CUMDRenderImpl::GetBlockInfo(int layoutOffset, int* block, int* offsetInBlock) {
    if (m_nSegmentBlocks < 1 || !block || !offsetInBlock)
        return 0;
    const std::int64_t offset = std::int64_t{m_nStartOffset} + layoutOffset;
    const int* ends = m_pBlockOffsets.get() + 1;
    const auto found = std::upper_bound(ends, ends + m_nSegmentBlocks, offset) - ends;
    if (found == m_nSegmentBlocks)
        return 0;
    *block = m_nFirstBlock + static_cast<int>(found);
    *offsetInBlock = static_cast<int>(offset - m_pBlockOffsets[found]);
    return 1;
}

// --- lines and screens --------------------------------------------------------------------------

int CUMDRenderImpl::GetNextPageLineNum(int line) {
    std::optional<PageCutter> screen = EmptyScreen(m_pLayout.get());
    if (!screen)
        return -1;
    int end = std::max(line, 0);
    while (end < m_nLineCount && !screen->BreaksBefore(m_pLineTable[end].height))
        ++end;
    return end - std::max(line, 0);
}

int CUMDRenderImpl::GetPrevPageLineNum(int line) {
    if (line <= 0)
        return 0;
    std::optional<PageCutter> screen = EmptyScreen(m_pLayout.get());
    if (!screen)
        return -1;
    line = std::min(line, m_nLineCount);
    int first = line;
    while (first > 0 && !screen->BreaksBefore(m_pLineTable[first - 1].height))
        --first;
    const bool textBeforeFits = first == 0 && !BeginsAtBookStart() && line > 0 &&
                                !screen->BreaksBefore(m_pLineTable[0].height);
    return textBeforeFits ? 0 : line - first;
}

int CUMDRenderImpl::GetLineNumByOffset(int layoutOffset) {
    if (m_nLineCount < 1)
        return m_nLineCount - 1;
    const QVLayoutLineInfo* lines = m_pLineTable.get();
    const auto* found = std::lower_bound(
        lines, lines + m_nLineCount, layoutOffset,
        [](const QVLayoutLineInfo& line, int offset) { return line.offset < offset; });
    return static_cast<int>(std::min<std::ptrdiff_t>(found - lines, m_nLineCount - 1));
}

void CUMDRenderImpl::MarkLinesOutdated() {
    m_nLineCount = -1;
}

bool CUMDRenderImpl::HasCurrentLines() {
    return m_pLineTable && (m_nLineCount >= 0 || LayOutAnew());
}

// From the first character of the screen shown, which so stays. Where the segment that begins there
// cannot be loaded, what is left of the loaded one can.
bool CUMDRenderImpl::LayOutAnew() {
    const int shown = m_pLineTable[m_nCurLine].offset;
    const int offsetInSegment = m_nStartOffset + shown;
    int block = 0;
    int offset = 0;
    if (GetBlockInfo(shown, &block, &offset) && UmdSetText(block, offset))
        return true;
    return m_pLineTable && UmdSetText(m_nFirstBlock, offsetInSegment);
}

// Lines that hold text: the layout adds an empty one behind a last paragraph separator.
int CUMDRenderImpl::TextLineCount() const {
    const int last = m_nLineCount - 1;
    const int textEnd = m_pBlockOffsets[m_nSegmentBlocks] - m_nStartOffset;
    return last > 0 && m_pLineTable[last].offset >= textEnd ? last : m_nLineCount;
}

// The line behind the screen that begins at `line`; a line taller than the screen is one of its
// own.
int CUMDRenderImpl::NextScreenLine(int line) {
    const int count = GetNextPageLineNum(line);
    return count < 0 ? -1 : line + std::max(count, 1);
}

bool CUMDRenderImpl::IsTallerThanScreen(int line) {
    return GetNextPageLineNum(line) == 0;
}

bool CUMDRenderImpl::IsLastSegment() const {
    return m_nBlockCount - m_nFirstBlock <= m_nBlocksPerSegment;
}

bool CUMDRenderImpl::BeginsAtBookStart() const {
    return m_nFirstBlock <= 0 && m_nStartOffset <= 0;
}

bool CUMDRenderImpl::ShowsWholeText() {
    return m_nCurLine == 0 && GetNextPageLineNum(0) >= TextLineCount();
}

// --- paging and drawing -------------------------------------------------------------------------

QVRESULT CUMDRenderImpl::GotoNextScreen() {
    if (!m_bInitialized)
        return QV_E_NOTREADY;
    if (!HasCurrentLines())
        return QV_E_FAIL;
    const int next = NextScreenLine(m_nCurLine);
    if (next < 0)
        return QV_E_FAIL;
    const bool nextHasText = next < TextLineCount();
    if (IsLastSegment()) {
        if (!nextHasText)
            return QV_E_FAIL;
        m_nCurLine = next;
        return QV_S_OK;
    }
    const int following = nextHasText ? NextScreenLine(next) : next;
    if (following < 0)
        return QV_E_FAIL;
    if (following >= TextLineCount())
        return LoadFromLine(next);
    m_nCurLine = next;
    return QV_S_OK;
}

// Loads the segment whose layout text begins with a line of this one, or with the first character
// behind this segment when the line is past its text.
QVRESULT CUMDRenderImpl::LoadFromLine(int line) {
    int block = m_nFirstBlock + m_nSegmentBlocks;
    int offset = 0;
    if (line < TextLineCount() && !GetBlockInfo(m_pLineTable[line].offset, &block, &offset))
        return QV_E_FAIL;
    return UmdSetText(block, offset) ? QV_S_OK : QV_E_FAIL;
}

QVRESULT CUMDRenderImpl::GotoPrevScreen() {
    if (!m_bInitialized)
        return QV_E_NOTREADY;
    if (!m_pLineTable)
        return QV_E_FAIL;
    if (BeginsAtBookStart() && m_nCurLine <= 0)
        return QV_E_FAIL;
    if (m_nLineCount < 0)
        return LoadSegmentBefore();
    const int lines = GetPrevPageLineNum(m_nCurLine);
    if (lines < 0)
        return QV_E_FAIL;
    if (lines == 0 && (m_nCurLine == 0 || !IsTallerThanScreen(m_nCurLine - 1)))
        return LoadSegmentBefore();
    m_nCurLine -= std::max(lines, 1);
    return QV_S_OK;
}

// Loads the segment that ends with the block the screen shown begins in, finds that place in it and
// steps back from there. When the screen holds all the text there is and begins with its block, the
// segment ends before that block: nothing of it is on the screen before.
QVRESULT CUMDRenderImpl::LoadSegmentBefore() {
    int block = 0;
    int offset = 0;
    if (!GetBlockInfo(m_pLineTable[m_nCurLine].offset, &block, &offset))
        return QV_E_FAIL;
    const bool endsBefore = offset == 0 && block > 0 && m_nLineCount >= 0 && ShowsWholeText();
    const int last = endsBefore ? block - 1 : block;
    const int first = last >= m_nBlocksPerSegment ? last - m_nBlocksPerSegment + 1 : 0;
    if (!UmdSetText(first, 0))
        return QV_E_FAIL;
    const int place = m_pBlockOffsets[block - first] + offset;
    const int line = GetLineNumByOffset(place);
    m_nCurLine = m_pLineTable[line].offset < place ? TextLineCount() : line;
    const int lines = GetPrevPageLineNum(m_nCurLine);
    if (lines > 0)
        return GotoPrevScreen();
    if (lines == 0 && m_nCurLine > 0)
        return StepBackInSegment();
    m_nCurLine = line;
    return QV_E_FAIL;
}

// What is left when no whole screen lies before the line: a line taller than the screen, or, on a
// screen that holds more than a segment, all the lines there are.
QVRESULT CUMDRenderImpl::StepBackInSegment() {
    m_nCurLine = IsTallerThanScreen(m_nCurLine - 1) ? m_nCurLine - 1 : 0;
    return QV_S_OK;
}

QVRESULT CUMDRenderImpl::GotoPosition(float fraction) {
    if (!(fraction >= 0.0f && fraction <= 1.0f))
        return QV_E_INVALIDARG;
    const int block = static_cast<int>(fraction * static_cast<float>(m_nBlockCount - 1));
    return UmdSetText(block, 0) ? QV_S_OK : QV_E_FAIL;
}

QVRESULT CUMDRenderImpl::DrawCurScreen(QV_IMAGE image, int x, int y) {
    if (!m_bInitialized)
        return QV_S_OK;
    if (!m_pLineTable)
        UmdSetText(m_nFirstBlock, m_nStartOffset);
    if (HasCurrentLines())
        m_pLayout->DrawPageFromLineNo(static_cast<unsigned int>(m_nCurLine), image, x, y);
    return QV_S_OK;
}

QVRESULT CUMDRenderImpl::PrepareNextScreen() {
    if (!m_bInitialized)
        return QV_E_NOTREADY;
    return m_pLineTable ? QV_S_OK : QV_E_FAIL;
}

QVRESULT CUMDRenderImpl::GotoReadableScreen(int block, int forward, int* passedOver) {
    if (!m_bInitialized)
        return QV_E_NOTREADY;
    if (block < -1 || block >= m_nBlockCount)
        return QV_E_INVALIDARG;
    if (passedOver)
        *passedOver = 0;
    if (block == -1) {
        if ((forward ? GotoNextScreen() : GotoPrevScreen()) == QV_S_OK)
            return QV_S_OK;
        int offset = 0;
        if (!GetCurPosition(&block, &offset))
            return QV_E_FAIL;
        block += forward ? m_nBlocksPerSegment : -m_nBlocksPerSegment;
    }
    for (int tried = block; tried >= 0 && tried < m_nBlockCount; tried += forward ? 1 : -1) {
        if (UmdSetText(tried, 0))
            return QV_S_OK;
        if (passedOver)
            *passedOver += m_nBlockSize;
    }
    return QV_E_FAIL;
}

int CUMDRenderImpl::GetCurPosition(int* block, int* offsetInBlock) {
    if (!m_bInitialized || !block || !offsetInBlock)
        return 0;
    if (m_pLineTable && GetBlockInfo(m_pLineTable[m_nCurLine].offset, block, offsetInBlock))
        return 1;
    *block = m_nFirstBlock;
    *offsetInBlock = m_nStartOffset;
    return 1;
}

int CUMDRenderImpl::GetBlockCount() {
    return m_bInitialized ? m_nBlockCount : 0;
}

// --- the reading position -----------------------------------------------------------------------

// A book whose reading data cannot be opened or created is read all the same.
void CUMDRenderImpl::OpenReadingData(char const* path) {
    IBookInfoEntity* entity = nullptr;
    CBookInfoManager::GetBookInfoEntity(path, &entity, 1);
    m_pBookInfoEntity.reset(entity);
}

std::unique_ptr<IBookInfoProxy> CUMDRenderImpl::BookInfo() const {
    IBookInfoProxy* proxy = nullptr;
    if (m_pBookInfoEntity)
        m_pBookInfoEntity->GetInfoProxy(&proxy, kFileId);
    return std::unique_ptr<IBookInfoProxy>(proxy);
}

// The first drawing loads the segment at this place; whether the book has it shows there.
void CUMDRenderImpl::RestorePosition() {
    const std::unique_ptr<IBookInfoProxy> info = BookInfo();
    if (!info)
        return;
    IBookAnnotation* delivered = nullptr;
    info->GetReadingBookmark(&delivered);
    const std::unique_ptr<IBookAnnotation> bookmark(delivered);
    if (!bookmark)
        return;
    unsigned int value = 0;
    if (bookmark->GetBlockIndex(&value) == QV_S_OK)
        m_nFirstBlock = static_cast<int>(value);
    if (bookmark->GetOffset(&value) == QV_S_OK)
        m_nStartOffset = static_cast<int>(value);
}

void CUMDRenderImpl::WirteQvp() {
    const std::unique_ptr<IBookInfoProxy> info = BookInfo();
    if (!info || !m_pLineTable)
        return;
    int block = 0;
    int offset = 0;
    GetBlockInfo(m_pLineTable[m_nCurLine].offset, &block, &offset);
    CBookAnnotationImpl bookmark(QvAnnotationPosition);
    if (bookmark.SetBlockIndex(static_cast<unsigned int>(block)) != QV_S_OK ||
        bookmark.SetOffset(static_cast<unsigned int>(offset)) != QV_S_OK)
        return;
    if (info->SetReadingBookmark(&bookmark) == QV_S_OK)
        m_pBookInfoEntity->Flush();
}

} // namespace QvFormat
