#include "render/CUMDRenderImpl.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <new>
#include <optional>
#include <utility>

#include "base/Handles.h"
#include "layout/CPangoLayout.h"
#include "layout/LayoutRegistry.h"
#include "layout/PageCutter.h"
#include "readingdata/CBookInfoManager.h"
#include "render/BookPosition.h"
#include "render/BookText.h"
#include "render/CUmdCustomizer.h"
#include "render/ReadingPosition.h"
#include "render/ScreenLines.h"
#include "render/SegmentText.h"
#include "render/ShownBook.h"

namespace QvFormat {

namespace {

const char kFontDescription[] = "fzlth 18";
constexpr int kDefaultFontSize = 18;

// Takes the lines of one screen; none when the layout cannot say its size or spacing. It is asked
// once in a turn, so that a turn counts with one size.
std::optional<PageCutter> EmptyScreen(ITextLayout* layout) {
    unsigned int width = 0;
    unsigned int height = 0;
    unsigned int spacing = 0;
    if (!layout || !layout->GetLayoutRect(&width, &height) || !layout->GetLineSpacing(&spacing))
        return std::nullopt;
    return PageCutter(height, static_cast<int>(spacing));
}

} // namespace

// Where the screen after the one shown begins.
struct CUMDRenderImpl::Turn {
    int line;           // of the line table; -1 when another segment is to be loaded
    BookPosition place; // with which that segment begins
};

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
    // A book whose reading data cannot be opened or created is read all the same.
    IBookInfoEntity* entity = nullptr;
    CBookInfoManager::GetBookInfoEntity(path, &entity, 1);
    m_pBookInfoEntity.reset(entity);
    BookPosition place = {0, 0};
    RestoreReadingPosition(entity, &place);
    m_nFirstBlock = place.block; // the first drawing shows whether the book has this place
    m_nStartOffset = place.offset;
    m_pUmdHandler.reset(new (std::nothrow) ShownBook(stream));
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

BookText CUMDRenderImpl::Text() const {
    return BookText(m_pUmdHandler.get(), m_pChunkOffsets.get());
}

int CUMDRenderImpl::SegmentBytes(int block) const {
    return m_nBlockCount - block > m_nBlocksPerSegment ? m_nSegmentBytes
                                                       : m_nContentLength - block * m_nBlockSize;
}

unsigned char* CUMDRenderImpl::GetBlockContent(int block, int* length) {
    if (!length || block < 0 || block >= m_nBlockCount)
        return nullptr;
    *length = SegmentBytes(block);
    MallocPtr<unsigned char> content(
        static_cast<unsigned char*>(std::calloc(static_cast<std::size_t>(*length) + 4, 1)));
    if (!content || Text().Read(block * m_nBlockSize, *length, content.get()) < *length)
        return nullptr;
    return content.release();
}

unsigned char* CUMDRenderImpl::UnicodeToUtf8(unsigned char const* content, int length) {
    if (!content || length <= 0 || length > m_nSegmentBytes || !m_pBlockOffsets)
        return nullptr;
    SegmentText segment = ConvertBlocks(content, length, m_nBlockSize);
    if (segment.blocks * m_nBlockSize < length)
        return nullptr;
    std::copy_n(segment.offsets.begin(), segment.blocks + 1, m_pBlockOffsets.get());
    m_nSegmentBlocks = segment.blocks;
    return segment.text.release();
}

// As many of the blocks from `first` on as can be read and converted. The unit before them, read
// with them, tells whether they begin inside a paragraph.
SegmentText CUMDRenderImpl::ReadBlocks(BookText& text, int first, int count) const {
    const int start = first * m_nBlockSize;
    const int length =
        std::min({count * m_nBlockSize, m_nContentLength - start, text.Length() - start});
    int before = first > 0 ? kUtf16UnitBytes : 0;
    MallocPtr<unsigned char> content(static_cast<unsigned char*>(
        length > 0 ? std::malloc(static_cast<std::size_t>(before + length)) : nullptr));
    if (!content)
        return {};
    int read = text.Read(start - before, before + length, content.get()) - before;
    if (read < 0) { // the chunk before cannot be read, the blocks perhaps can
        before = 0;
        read = text.Read(start, length, content.get());
    }
    if (start + read < m_nContentLength)
        read -= read % m_nBlockSize;
    if (read <= 0)
        return {};
    SegmentText segment = ConvertBlocks(content.get() + before, read, m_nBlockSize);
    segment.first = first;
    segment.continues = before > 0 && !IsParagraphSeparator(content.get());
    return segment;
}

bool CUMDRenderImpl::IsWhole(const SegmentText& segment) const {
    return segment.blocks > 0 &&
           segment.blocks == std::min(m_nBlockCount - segment.first, m_nBlocksPerSegment);
}

// Without blocks when one of them cannot be loaded.
SegmentText CUMDRenderImpl::ReadWholeSegment(const BookPosition& place) const {
    if (place.block < 0 || place.block >= m_nBlockCount)
        return {};
    BookText text = Text();
    SegmentText segment = ReadBlocks(text, place.block, m_nBlocksPerSegment);
    if (!IsWhole(segment))
        return {};
    segment.StartAt(place.offset);
    return segment;
}

std::unique_ptr<SegmentText>& CUMDRenderImpl::Ahead() const {
    return static_cast<ShownBook*>(m_pUmdHandler.get())->m_pAhead;
}

// Whether the text goes on with a paragraph is beyond ITextLayout, whose slots are fixed; another
// layout takes every text for a paragraph.
void CUMDRenderImpl::GiveToLayout(const SegmentText& segment) {
    Ahead().reset();
    m_pLayout->SetText(reinterpret_cast<const char*>(segment.text.get()) + segment.start,
                       segment.Length() - segment.start);
    if (CPangoLayout* pango = FindPangoLayout(m_pLayout.get()))
        pango->SetTextContinues(segment.StartsInsideParagraph());
}

// Makes the segment that the layout holds the loaded one.
bool CUMDRenderImpl::TakeOver(const SegmentText& segment) {
    std::copy_n(segment.offsets.begin(), segment.blocks + 1, m_pBlockOffsets.get());
    m_nSegmentBlocks = segment.blocks;
    m_nFirstBlock = segment.first;
    m_nStartOffset = segment.start;
    m_pLineTable.reset();
    m_nLineCount = -1;
    m_nCurLine = -1;
    QVLayoutLineInfo* table = nullptr;
    unsigned int lines = 0;
    const int answered = m_pLayout->GetLineTable(&table, &lines);
    std::unique_ptr<QVLayoutLineInfo[]> owned(table);
    if (!answered || !owned || lines < 1 || lines > INT_MAX)
        return false;
    m_pLineTable = std::move(owned);
    m_nLineCount = static_cast<int>(lines);
    m_nCurLine = 0;
    return true;
}

bool CUMDRenderImpl::Load(const SegmentText& segment) {
    if (segment.blocks < 1)
        return false;
    GiveToLayout(segment);
    return TakeOver(segment);
}

int CUMDRenderImpl::UmdSetText(int block, int offset) {
    return Load(ReadWholeSegment({block, offset})) ? 1 : 0;
}

// Also where the segment that begins with the place's block cannot be loaded: then what stands
// before the first block that cannot.
bool CUMDRenderImpl::LoadReadable(const BookPosition& place) {
    if (place.block < 0 || place.block >= m_nBlockCount)
        return false;
    BookText text = Text();
    SegmentText segment = ReadBlocks(text, place.block, m_nBlocksPerSegment);
    segment.StartAt(place.offset);
    return Load(segment);
}

// Gives the layout back the loaded segment's text where it holds the one loaded ahead.
bool CUMDRenderImpl::LayoutHoldsSegment() {
    if (!Ahead())
        return true;
    BookText text = Text();
    SegmentText segment = ReadBlocks(text, m_nFirstBlock, m_nSegmentBlocks);
    if (segment.blocks < m_nSegmentBlocks)
        return false;
    segment.StartAt(m_nStartOffset);
    GiveToLayout(segment);
    return true;
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

ScreenLines CUMDRenderImpl::Lines() const {
    return ScreenLines(m_pLineTable.get(), m_nLineCount);
}

int CUMDRenderImpl::GetNextPageLineNum(int line) {
    const std::optional<PageCutter> screen = EmptyScreen(m_pLayout.get());
    return screen ? Lines().CountFrom(line, *screen) : -1;
}

int CUMDRenderImpl::GetPrevPageLineNum(int line) {
    if (line <= 0)
        return 0;
    const std::optional<PageCutter> screen = EmptyScreen(m_pLayout.get());
    return screen ? Lines().CountBefore(line, *screen, !BeginsAtBookStart()) : -1;
}

int CUMDRenderImpl::GetLineNumByOffset(int layoutOffset) {
    return m_nLineCount < 1 ? m_nLineCount - 1 : Lines().LineAt(layoutOffset);
}

// What stays is the place shown: the layout text will begin with it.
void CUMDRenderImpl::MarkLinesOutdated() {
    if (!m_pLineTable)
        return;
    const std::int64_t start = std::int64_t{m_nStartOffset} + m_pLineTable[m_nCurLine].offset;
    m_nStartOffset = static_cast<int>(std::clamp<std::int64_t>(start, 0, INT_MAX));
    m_pLineTable.reset();
    m_nLineCount = -1;
    m_nCurLine = 0;
}

bool CUMDRenderImpl::HasCurrentLines() {
    return m_pLineTable || (m_nCurLine >= 0 && LoadReadable(Place()));
}

BookPosition CUMDRenderImpl::Place() {
    BookPosition place = {m_nFirstBlock, m_nStartOffset};
    GetBlockInfo(m_pLineTable ? m_pLineTable[m_nCurLine].offset : 0, &place.block, &place.offset);
    return place;
}

// Lines that hold text: the layout adds an empty one after a last paragraph separator.
int CUMDRenderImpl::TextLineCount() const {
    const int last = m_nLineCount - 1;
    const int textEnd = m_pBlockOffsets[m_nSegmentBlocks] - m_nStartOffset;
    return last > 0 && m_pLineTable[last].offset >= textEnd ? last : m_nLineCount;
}

bool CUMDRenderImpl::IsLastSegment() const {
    return m_nBlockCount - m_nFirstBlock <= m_nBlocksPerSegment;
}

bool CUMDRenderImpl::BeginsAtBookStart() const {
    return m_nFirstBlock <= 0 && m_nStartOffset <= 0;
}

bool CUMDRenderImpl::ShowsWholeText(const PageCutter& screen) const {
    return m_pLineTable && m_nCurLine == 0 && Lines().CountFrom(0, screen) >= TextLineCount();
}

// --- paging and drawing -------------------------------------------------------------------------

// Past the text, the first character after the segment.
bool CUMDRenderImpl::FindPlaceOfLine(int line, BookPosition* place) {
    *place = {m_nFirstBlock + m_nSegmentBlocks, 0};
    return line >= TextLineCount() ||
           GetBlockInfo(m_pLineTable[line].offset, &place->block, &place->offset);
}

// Another segment is loaded one screen early, when the next screen reaches the end of this one.
bool CUMDRenderImpl::FindNextScreen(Turn* next) {
    const std::optional<PageCutter> screen = EmptyScreen(m_pLayout.get());
    if (!screen)
        return false;
    const int count = TextLineCount();
    next->line = Lines().NextScreen(m_nCurLine, *screen);
    const bool hasText = next->line < count;
    if (IsLastSegment())
        return hasText;
    if (hasText && Lines().NextScreen(next->line, *screen) < count)
        return true;
    return FindPlaceOfLine(std::exchange(next->line, -1), &next->place);
}

QVRESULT CUMDRenderImpl::GotoNextScreen() {
    if (!m_bInitialized)
        return QV_E_NOTREADY;
    Turn next;
    if (!HasCurrentLines() || !FindNextScreen(&next))
        return QV_E_FAIL;
    if (next.line >= 0) {
        m_nCurLine = next.line;
        return QV_S_OK;
    }
    const SegmentText* ahead = Ahead().get();
    if (!ahead || ahead->first != next.place.block || ahead->start != next.place.offset)
        return UmdSetText(next.place.block, next.place.offset) ? QV_S_OK : QV_E_FAIL;
    const std::unique_ptr<SegmentText> segment = std::move(Ahead());
    return TakeOver(*segment) ? QV_S_OK : QV_E_FAIL;
}

QVRESULT CUMDRenderImpl::PrepareNextScreen() {
    if (!m_bInitialized)
        return QV_E_NOTREADY;
    Turn next;
    if (m_nCurLine < 0)
        return QV_E_FAIL;
    if (!m_pLineTable)
        return QV_S_OK; // laying the screen shown out anew comes first
    if (!FindNextScreen(&next))
        return QV_E_FAIL;
    const SegmentText* ahead = Ahead().get();
    if (next.line >= 0 ||
        (ahead && ahead->first == next.place.block && ahead->start == next.place.offset))
        return QV_S_OK;
    std::unique_ptr<SegmentText> segment(new (std::nothrow)
                                             SegmentText(ReadWholeSegment(next.place)));
    if (!segment || !segment->blocks)
        return QV_E_FAIL;
    GiveToLayout(*segment);
    segment->text.reset();
    Ahead() = std::move(segment);
    unsigned int lines = 0;
    m_pLayout->GetLineCount(&lines); // lays the text out
    return QV_S_OK;
}

QVRESULT CUMDRenderImpl::GotoPrevScreen() {
    if (!m_bInitialized)
        return QV_E_NOTREADY;
    if (m_nCurLine < 0 || (m_nCurLine == 0 && BeginsAtBookStart()))
        return QV_E_FAIL;
    const std::optional<PageCutter> screen = EmptyScreen(m_pLayout.get());
    if (!screen)
        return QV_E_FAIL;
    const int lines =
        m_pLineTable ? Lines().StepBack(m_nCurLine, *screen, !BeginsAtBookStart()) : 0;
    if (lines == 0)
        return LoadScreenBefore(*screen);
    m_nCurLine -= lines;
    return QV_S_OK;
}

// Loads the segment that ends with the block the screen shown begins in. When that screen holds all
// the text there is and begins with its block, the segment ends before that block: nothing of it is
// on the screen before. A segment without text before the place leads on to the one before it.
QVRESULT CUMDRenderImpl::LoadScreenBefore(const PageCutter& screen) {
    const BookPosition place = Place();
    BookText text = Text();
    int last = place.offset == 0 && ShowsWholeText(screen) ? place.block - 1 : place.block;
    while (last >= 0) {
        const int first = std::max(last - m_nBlocksPerSegment + 1, 0);
        const SegmentText segment = ReadBlocks(text, first, m_nBlocksPerSegment);
        if (!IsWhole(segment))
            break;
        const int end = segment.OffsetOf(place.block, place.offset);
        if (end > 0)
            return ShowScreenBefore(segment, end, screen);
        last = first - 1;
    }
    return QV_E_FAIL;
}

// Loads the segment and shows the screen that ends before its byte `end`. The line that holds this
// byte ends the screen, unless it begins with it. Where a screen holds more than a segment, it
// shows all the lines before.
QVRESULT CUMDRenderImpl::ShowScreenBefore(const SegmentText& segment, int end,
                                          const PageCutter& screen) {
    if (!Load(segment))
        return QV_E_FAIL;
    const int line = Lines().LineAt(end);
    const int endLine = m_pLineTable[line].offset < end ? TextLineCount() : line;
    const int lines = Lines().StepBack(endLine, screen, !BeginsAtBookStart());
    m_nCurLine = lines > 0 ? endLine - lines : 0;
    return endLine > 0 ? QV_S_OK : QV_E_FAIL;
}

QVRESULT CUMDRenderImpl::GotoPosition(float fraction) {
    if (!(fraction >= 0.0f && fraction <= 1.0f))
        return QV_E_INVALIDARG;
    const int block = static_cast<int>(fraction * static_cast<float>(m_nBlockCount - 1));
    return UmdSetText(block, 0) ? QV_S_OK : QV_E_FAIL;
}

QVRESULT CUMDRenderImpl::DrawCurScreen(QV_IMAGE image, int x, int y) {
    if (m_bInitialized && (m_pLineTable || LoadReadable(Place())) && LayoutHoldsSegment())
        m_pLayout->DrawPageFromLineNo(static_cast<unsigned int>(m_nCurLine), image, x, y);
    return QV_S_OK;
}

// --- past what cannot be read -------------------------------------------------------------------

QVRESULT CUMDRenderImpl::GotoReadableScreen(int block, int forward, int* passedOver) {
    if (!m_bInitialized)
        return QV_E_NOTREADY;
    if (block < -1 || block >= m_nBlockCount)
        return QV_E_INVALIDARG;
    int passed = 0;
    QVRESULT result = QV_E_FAIL;
    if (block >= 0)
        result = JumpReadable({block, 0}, forward ? 1 : -1, &passed);
    else
        result = forward ? GoOnReadable(&passed) : GoBackReadable(&passed);
    if (passedOver)
        *passedOver = passed;
    return result;
}

// The nearest block with text, from `block` on in steps of 1 or -1; -1 when there is none. Counts
// the bytes of those passed over that cannot be read.
int CUMDRenderImpl::FindReadableBlock(BookText& text, int block, int step, int* passed) const {
    for (; block >= 0 && block < m_nBlockCount; block += step) {
        const SegmentText found = ReadBlocks(text, block, 1);
        if (found.Length() > 0)
            return block;
        if (found.blocks == 0)
            *passed += std::min(m_nBlockSize, m_nContentLength - block * m_nBlockSize);
    }
    return -1;
}

QVRESULT CUMDRenderImpl::JumpReadable(const BookPosition& place, int step, int* passed) {
    BookText text = Text();
    const int block = FindReadableBlock(text, place.block, step, passed);
    return LoadReadable({block, block == place.block ? place.offset : 0}) ? QV_S_OK : QV_E_FAIL;
}

QVRESULT CUMDRenderImpl::GoOnReadable(int* passed) {
    if (GotoNextScreen() == QV_S_OK)
        return QV_S_OK;
    if (!m_pLineTable)
        return JumpReadable(Place(), 1, passed);
    const std::optional<PageCutter> screen = EmptyScreen(m_pLayout.get());
    BookPosition next;
    if (!screen || !FindPlaceOfLine(Lines().NextScreen(m_nCurLine, *screen), &next))
        return QV_E_FAIL;
    return JumpReadable(next, 1, passed);
}

QVRESULT CUMDRenderImpl::GoBackReadable(int* passed) {
    if (GotoPrevScreen() == QV_S_OK)
        return QV_S_OK;
    const BookPosition place = Place();
    if (m_nCurLine < 0)
        return JumpReadable(place, -1, passed);
    const std::optional<PageCutter> screen = EmptyScreen(m_pLayout.get());
    if (!screen)
        return QV_E_FAIL;
    BookText text = Text();
    const int last =
        FindReadableBlock(text, place.offset > 0 ? place.block : place.block - 1, -1, passed);
    const SegmentText segment = ReadReadableBlocksUpTo(text, last);
    return ShowScreenBefore(segment, segment.OffsetOf(place.block, place.offset), *screen);
}

SegmentText CUMDRenderImpl::ReadReadableBlocksUpTo(BookText& text, int last) const {
    int first = last + 1;
    while (first > 0 && last - first + 1 < m_nBlocksPerSegment &&
           ReadBlocks(text, first - 1, 1).blocks > 0)
        --first;
    return ReadBlocks(text, first, last - first + 1);
}

int CUMDRenderImpl::GetCurPosition(int* block, int* offsetInBlock) {
    if (!m_bInitialized || !block || !offsetInBlock)
        return 0;
    const BookPosition place = Place();
    *block = place.block;
    *offsetInBlock = place.offset;
    return 1;
}

int CUMDRenderImpl::GetBlockCount() {
    return m_bInitialized ? m_nBlockCount : 0;
}

void CUMDRenderImpl::WirteQvp() {
    if (m_nCurLine < 0)
        return;
    BookPosition place = {0, 0};
    GetBlockInfo(m_pLineTable ? m_pLineTable[m_nCurLine].offset : 0, &place.block, &place.offset);
    SaveReadingPosition(m_pBookInfoEntity.get(), place);
}

} // namespace QvFormat
