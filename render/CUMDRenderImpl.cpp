#include "render/CUMDRenderImpl.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <new>
#include <optional>
#include <utility>

#include "base/Handles.h"
#include "base/OwnedArray.h"
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
constexpr unsigned int kDefaultFontSize = 18;

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

// Two characters of the font size.
int FirstLineIndent(unsigned int fontSize) {
    return static_cast<int>(std::min<unsigned int>(fontSize, INT_MAX / 2)) * 2;
}

// Whether the name is another one, and kept.
bool KeepName(std::unique_ptr<char[]>* field, char const* name) {
    if (!name || !*name || (*field && std::strcmp(field->get(), name) == 0))
        return false;
    *field = CopyString(name);
    return *field != nullptr;
}

} // namespace

// --- the object ---------------------------------------------------------------------------------

CUMDRenderImpl::CUMDRenderImpl() : m_pBlockOffsets(NewArray<int>(kMostBlocks + 1)) {}

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
    m_pLayout->SetIndent(FirstLineIndent(size));
    MarkLinesOutdated();
}

void CUMDRenderImpl::SetChineseFont(char const* name) {
    m_bFontChanged |= KeepName(&m_pChineseFont, name);
}

void CUMDRenderImpl::SetEnglishFont(char const* name) {
    m_bFontChanged |= KeepName(&m_pEnglishFont, name);
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
    static_cast<void>(ownedStream.release()); // now the handler's
    if (!m_pLayout || !CreatUmdNodeIndexList())
        return QV_E_FAIL;
    m_nContentLength = m_pUmdHandler->GetContentLength();
    if (m_nContentLength <= 0 || m_nContentLength > INT_MAX - kBlockBytes + 1)
        return QV_E_FAIL;
    m_nBlockCount = BlocksIn(m_nContentLength);
    m_pLayout->SetIndent(FirstLineIndent(m_nFontSize ? m_nFontSize : kDefaultFontSize));
    return QV_S_OK;
}

int CUMDRenderImpl::CreatUmdNodeIndexList() {
    if (!m_pUmdHandler)
        return 0;
    const int count = m_pUmdHandler->GetChunkCount();
    if (!m_pChunkOffsets)
        m_pChunkOffsets = NewArray<int>(static_cast<std::size_t>(count) + 1);
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
    return BookText(m_pUmdHandler.get(), m_pChunkOffsets.get(), m_nContentLength,
                    m_nBlocksPerSegment);
}

unsigned char* CUMDRenderImpl::GetBlockContent(int block, int* length) {
    if (!length || block < 0 || block >= m_nBlockCount)
        return nullptr;
    const int start = block * m_nBlockSize;
    *length =
        m_nBlockCount - block > m_nBlocksPerSegment ? m_nSegmentBytes : m_nContentLength - start;
    MallocPtr<unsigned char> content(
        static_cast<unsigned char*>(std::calloc(static_cast<std::size_t>(*length) + 4, 1)));
    if (!content || Text().Read(start, *length, content.get()) < *length)
        return nullptr;
    return content.release();
}

unsigned char* CUMDRenderImpl::UnicodeToUtf8(unsigned char const* content, int length) {
    if (!content || length <= 0 || length > m_nSegmentBytes || !m_pBlockOffsets)
        return nullptr;
    SegmentText segment = ConvertBlocks(content, length);
    if (segment.blocks < BlocksIn(length))
        return nullptr;
    std::copy_n(segment.offsets.begin(), segment.blocks + 1, m_pBlockOffsets.get());
    m_nSegmentBlocks = segment.blocks;
    return segment.text.release();
}

std::unique_ptr<SegmentText>& CUMDRenderImpl::Ahead() const {
    return static_cast<ShownBook*>(m_pUmdHandler.get())->m_pAhead;
}

bool CUMDRenderImpl::IsAhead(const BookPosition& place) const {
    const SegmentText* ahead = Ahead().get();
    return ahead && ahead->first == place.block && ahead->start == place.offset;
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

bool CUMDRenderImpl::Load(const SegmentText& segment) {
    if (segment.blocks < 1)
        return false;
    GiveToLayout(segment);
    return TakeOver(segment);
}

// Makes the segment that the layout holds the loaded one.
bool CUMDRenderImpl::TakeOver(const SegmentText& segment) {
    std::copy_n(segment.offsets.begin(), segment.blocks + 1, m_pBlockOffsets.get());
    m_nSegmentBlocks = segment.blocks;
    m_nFirstBlock = segment.first;
    m_nStartOffset = segment.start;
    QVLayoutLineInfo* table = nullptr;
    unsigned int lines = 0;
    const int answered = m_pLayout->GetLineTable(&table, &lines);
    m_pLineTable.reset(answered ? table : nullptr);
    if (lines < 1 || lines > INT_MAX)
        m_pLineTable.reset();
    m_nLineCount = m_pLineTable ? static_cast<int>(lines) : -1;
    m_nCurLine = m_pLineTable ? 0 : -1;
    return m_nCurLine == 0;
}

int CUMDRenderImpl::UmdSetText(int block, int offset) {
    if (block < 0 || block >= m_nBlockCount)
        return 0;
    if (!IsAhead({block, offset}))
        return Load(Text().ReadSegment({block, offset})) ? 1 : 0;
    const std::unique_ptr<SegmentText> segment = std::move(Ahead());
    return TakeOver(*segment) ? 1 : 0;
}

// Where the segment that begins with the place's block cannot be loaded, what of it stands before
// the first block that cannot.
bool CUMDRenderImpl::LoadReadable(const BookPosition& place) {
    return Load(Text().ReadBlocks(place, m_nBlocksPerSegment));
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

BookPosition CUMDRenderImpl::PlaceShown() {
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

bool CUMDRenderImpl::BeginsAtBookStart() const {
    return m_nFirstBlock <= 0 && m_nStartOffset <= 0;
}

// --- paging and drawing -------------------------------------------------------------------------

// Stores the line that the next screen begins with, or -1 and the place that a segment is to be
// loaded from. That is done one screen early, when the next screen reaches the end of the text.
// False when the layout does not answer.
bool CUMDRenderImpl::FindNextScreen(int* line, BookPosition* place) {
    const std::optional<PageCutter> screen = EmptyScreen(m_pLayout.get());
    if (!screen)
        return false;
    const ScreenLines lines = Lines();
    const int count = TextLineCount();
    const int next = lines.NextScreen(m_nCurLine, *screen);
    const bool isLastSegment = m_nBlockCount - m_nFirstBlock <= m_nBlocksPerSegment;
    *line = next < count && (isLastSegment || lines.NextScreen(next, *screen) < count) ? next : -1;
    *place = {m_nFirstBlock + m_nSegmentBlocks, 0};
    return next >= count || GetBlockInfo(m_pLineTable[next].offset, &place->block, &place->offset);
}

QVRESULT CUMDRenderImpl::GotoNextScreen() {
    if (!m_bInitialized)
        return QV_E_NOTREADY;
    if (!m_pLineTable && (m_nCurLine < 0 || !LoadReadable(PlaceShown())))
        return QV_E_FAIL;
    int line = 0;
    BookPosition place = {};
    if (!FindNextScreen(&line, &place))
        return QV_E_FAIL;
    if (line < 0)
        return UmdSetText(place.block, place.offset) ? QV_S_OK : QV_E_FAIL;
    m_nCurLine = line;
    return QV_S_OK;
}

QVRESULT CUMDRenderImpl::PrepareNextScreen() {
    if (!m_bInitialized)
        return QV_E_NOTREADY;
    if (!m_pLineTable) // outdated lines are laid out anew first, when they are drawn
        return m_nCurLine < 0 ? QV_E_FAIL : QV_S_OK;
    int line = 0;
    BookPosition place = {};
    if (!FindNextScreen(&line, &place))
        return QV_E_FAIL;
    if (line >= 0 || IsAhead(place))
        return QV_S_OK;
    std::unique_ptr<SegmentText> segment(new (std::nothrow) SegmentText(Text().ReadSegment(place)));
    if (!segment || segment->blocks < 1)
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
    const int lines = Lines().StepBack(m_nCurLine, *screen, !BeginsAtBookStart());
    if (lines == 0)
        return LoadScreenBefore(*screen);
    m_nCurLine -= lines;
    return QV_S_OK;
}

// Loads the segment that ends with the block the screen shown begins in. When that screen holds all
// the text there is and begins with its block, the segment ends before that block: nothing of it is
// on the screen before. A segment without text before the place leads on to the one before it.
QVRESULT CUMDRenderImpl::LoadScreenBefore(const PageCutter& screen) {
    const BookPosition place = PlaceShown();
    const bool endsBefore = place.offset == 0 && m_pLineTable && m_nCurLine == 0 &&
                            Lines().CountFrom(0, screen) >= TextLineCount();
    BookText text = Text();
    for (int end = endsBefore ? place.block : place.block + 1; end > 0;) {
        const int first = std::max(end - m_nBlocksPerSegment, 0);
        const SegmentText segment = text.ReadSegment({first, 0});
        if (segment.blocks < 1)
            return QV_E_FAIL;
        if (segment.OffsetOf(place) > 0)
            return ShowScreenBefore(place, segment, screen);
        end = first;
    }
    return QV_E_FAIL;
}

// Loads the segment and shows the screen that ends before the place. The line that holds it ends
// the screen, unless it begins with it. A screen that holds more than a segment shows all the
// lines.
QVRESULT CUMDRenderImpl::ShowScreenBefore(const BookPosition& place, const SegmentText& segment,
                                          const PageCutter& screen) {
    if (!Load(segment))
        return QV_E_FAIL;
    const int offset = segment.OffsetOf(place);
    const int line = Lines().LineAt(offset);
    const int end = m_pLineTable[line].offset < offset ? TextLineCount() : line;
    const int lines = Lines().StepBack(end, screen, !BeginsAtBookStart());
    m_nCurLine = lines > 0 ? end - lines : 0;
    return end > 0 ? QV_S_OK : QV_E_FAIL;
}

QVRESULT CUMDRenderImpl::GotoPosition(float fraction) {
    if (!(fraction >= 0.0f && fraction <= 1.0f))
        return QV_E_INVALIDARG;
    const int block = static_cast<int>(fraction * static_cast<float>(m_nBlockCount - 1));
    return UmdSetText(block, 0) ? QV_S_OK : QV_E_FAIL;
}

QVRESULT CUMDRenderImpl::DrawCurScreen(QV_IMAGE image, int x, int y) {
    if (!m_bInitialized || (!m_pLineTable && !LoadReadable(PlaceShown())))
        return QV_S_OK;
    if (Ahead()) { // the layout holds the next segment's text
        const SegmentText segment =
            Text().ReadBlocks({m_nFirstBlock, m_nStartOffset}, m_nSegmentBlocks);
        if (segment.blocks < m_nSegmentBlocks)
            return QV_S_OK;
        GiveToLayout(segment);
    }
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
    if (!passedOver)
        passedOver = &passed;
    *passedOver = 0;
    if (block >= 0)
        return JumpToReadable({block, 0}, forward ? 1 : -1, passedOver);
    if ((forward ? GotoNextScreen() : GotoPrevScreen()) == QV_S_OK)
        return QV_S_OK;
    BookPosition place = PlaceShown();
    if (!forward && m_nCurLine >= 0)
        return StepBackToReadable(place, passedOver);
    int line = 0;
    if (forward && m_pLineTable && !FindNextScreen(&line, &place))
        return QV_E_FAIL;
    return JumpToReadable(place, forward ? 1 : -1, passedOver);
}

QVRESULT CUMDRenderImpl::JumpToReadable(const BookPosition& place, int step, int* passedOver) {
    const int block = Text().FindReadableBlock(place.block, step, passedOver);
    return LoadReadable({block, block == place.block ? place.offset : 0}) ? QV_S_OK : QV_E_FAIL;
}

QVRESULT CUMDRenderImpl::StepBackToReadable(const BookPosition& place, int* passedOver) {
    const std::optional<PageCutter> screen = EmptyScreen(m_pLayout.get());
    if (!screen)
        return QV_E_FAIL;
    BookText text = Text();
    const int nearest = place.offset > 0 ? place.block : place.block - 1;
    const int last = text.FindReadableBlock(nearest, -1, passedOver);
    return ShowScreenBefore(place, text.ReadBlocksUpTo(last), *screen);
}

int CUMDRenderImpl::GetCurPosition(int* block, int* offsetInBlock) {
    if (!m_bInitialized || !block || !offsetInBlock)
        return 0;
    const BookPosition place = PlaceShown();
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
