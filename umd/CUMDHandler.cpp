#include "umd/CUMDHandler.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>

#include <zlib.h>

#include "IQVSequentialStream.h"
#include "base/ByteReader.h"
#include "base/LittleEndian.h"
#include "umd/UMDFormat.h"
#include "umd/UMDNode.h"

namespace QvFormat {

namespace {

using Bytes = MallocPtr<unsigned char[]>;

Bytes Allocate(std::size_t size) {
    return Bytes(static_cast<unsigned char*>(std::malloc(size)));
}

// Zeros for `length` bytes of text and a whole zero unit after them, also when `length` is odd.
Bytes AllocateText(int length) {
    const auto size = static_cast<std::size_t>(length);
    return Bytes(static_cast<unsigned char*>(std::calloc(size + size % 2 + 2, 1)));
}

std::int32_t LoadInteger(const unsigned char* bytes) {
    return static_cast<std::int32_t>(LoadLE32(bytes));
}

// The copy a getter hands out; null gives null.
unsigned short* CopyUnits(const Bytes& text) {
    if (!text)
        return nullptr;
    std::size_t count = 0;
    while (LoadLE16(&text[2 * count]) != 0)
        ++count;
    auto* copy = static_cast<unsigned short*>(std::malloc((count + 1) * sizeof(unsigned short)));
    if (!copy)
        return nullptr;
    for (std::size_t i = 0; i <= count; ++i)
        copy[i] = LoadLE16(&text[2 * i]);
    return copy;
}

// Counts what a zlib stream inflates to, piece by piece through `scratch` of kInflateBufferSize
// bytes: time grows with the count, memory does not. -1: damaged, cut off, or more than an int
// holds. A pass of inflate that makes no progress is an error to zlib, and so ends the loop.
int CountInflated(const unsigned char* compressed, uInt size, unsigned char* scratch) {
    z_stream stream = {};
    stream.next_in = const_cast<unsigned char*>(compressed); // zlib reads it only
    stream.avail_in = size;
    if (inflateInit(&stream) != Z_OK)
        return -1;
    std::int64_t count = 0;
    int result = Z_OK;
    while (result == Z_OK && count <= UMDFormat::kMaxOffset) {
        stream.next_out = scratch;
        stream.avail_out = UMDFormat::kInflateBufferSize;
        result = inflate(&stream, Z_NO_FLUSH);
        count += UMDFormat::kInflateBufferSize - static_cast<int>(stream.avail_out);
    }
    inflateEnd(&stream);
    return result == Z_STREAM_END && count <= UMDFormat::kMaxOffset ? static_cast<int>(count) : -1;
}

// The buffer for `count` inflated bytes, more than kInflateBufferSize.
uLong InflateBufferFor(int count) {
    const uLong step = UMDFormat::kInflateBufferStep;
    const uLong beyond = static_cast<uLong>(count) - UMDFormat::kInflateBufferSize;
    return UMDFormat::kInflateBufferSize + (beyond + step - 1) / step * step;
}

// Inflates into the usual buffer or, when that is too small, into one of the size that a count
// finds.
Bytes Inflate(const unsigned char* compressed, uInt size, int* length) {
    uLongf inflated = UMDFormat::kInflateBufferSize;
    Bytes text = Allocate(inflated);
    if (!text)
        return nullptr;
    int result = uncompress(text.get(), &inflated, compressed, size);
    if (result == Z_BUF_ERROR) {
        const int count = CountInflated(compressed, size, text.get());
        if (count < 0)
            return nullptr;
        inflated = InflateBufferFor(count);
        text = Allocate(inflated);
        if (!text)
            return nullptr;
        result = uncompress(text.get(), &inflated, compressed, size);
    }
    if (result != Z_OK)
        return nullptr;
    *length = static_cast<int>(inflated);
    return text;
}

} // namespace

// --- construction and parse ---------------------------------------------------------------------

CUMDHandler::CUMDHandler(IQVSequentialStream* stream) : m_pStream(stream) {
    if (StreamIsUsable() && Initialize())
        m_bReady = 1;
}

CUMDHandler::~CUMDHandler() {
    m_pStream.reset(); // the file is closed before anything else is let go
}

bool CUMDHandler::StreamIsUsable() {
    int canRead = 0;
    int canSeek = 0;
    return m_pStream && m_pStream->GetCanRead(&canRead) >= 0 && canRead != 0 &&
           m_pStream->GetCanSeek(&canSeek) >= 0 && canSeek != 0;
}

int CUMDHandler::Initialize() {
    long length = 0;
    if (m_pStream->Seek(UMDFormat::kFirstNodeOffset, SeekFromBegin, nullptr) < 0 ||
        m_pStream->GetLength(&length) < 0)
        return 0;
    UMDNode node = {};
    node.offset = UMDFormat::kFirstNodeOffset;
    Step step = Step::GoOn;
    while (step == Step::GoOn && ReadNextFunctionNode(&node))
        step = ReadFunction(&node);
    return step != Step::Failed;
}

CUMDHandler::Step CUMDHandler::ReadFunction(UMDNode* node) {
    switch (node->type) {
    case UMDFormat::BookType:
        return ReadBookType(*node);
    case UMDFormat::ContentLength:
        return ReadContentLength(*node);
    case UMDFormat::ChapterOffsets:
        return ReadChapterTable(node);
    case UMDFormat::ChapterTitles:
        return ReadChapterTitles(node);
    case UMDFormat::Chunks:
    case UMDFormat::MoreChunks:
        return ReadChunkRun(node);
    default:
        if (InfoString(node->type))
            ReadBookInfo(node);
        return Step::GoOn;
    }
}

// --- one node kind each -------------------------------------------------------------------------

CUMDHandler::Step CUMDHandler::ReadBookType(const UMDNode& node) {
    unsigned char type = 0;
    const bool read = ReadAt(node.contentOffset, &type, 1) >= 0;
    return read && type == UMDFormat::kTextBook ? Step::GoOn : Step::Failed;
}

CUMDHandler::Step CUMDHandler::ReadContentLength(const UMDNode& node) {
    unsigned char content[UMDFormat::kIntegerSize];
    if (node.contentLength != UMDFormat::kIntegerSize ||
        ReadAt(node.contentOffset, content, UMDFormat::kIntegerSize) != UMDFormat::kIntegerSize)
        return Step::Failed;
    m_nContentLength = LoadInteger(content);
    return Step::GoOn;
}

// A string whose content cannot be read, or is empty, leaves the one read before.
void CUMDHandler::ReadBookInfo(UMDNode* node) {
    Text* string = InfoString(node->type);
    Text text = AllocateText(node->contentLength);
    if (string && text && ReadAt(node->contentOffset, text.get(), node->contentLength) >= 0)
        *string = std::move(text);
}

CUMDHandler::Text* CUMDHandler::InfoString(int type) {
    switch (type) {
    case UMDFormat::Title:
        return &m_pTitle;
    case UMDFormat::Author:
        return &m_pAuthor;
    case UMDFormat::Year:
        return &m_pYear;
    case UMDFormat::Month:
        return &m_pMonth;
    case UMDFormat::Day:
        return &m_pDay;
    case UMDFormat::Genre:
        return &m_pGenre;
    case UMDFormat::Publisher:
        return &m_pPublisher;
    case UMDFormat::Vendor:
        return &m_pVendor;
    default:
        return nullptr;
    }
}

CUMDHandler::Step CUMDHandler::ReadChapterTable(UMDNode* node) {
    const Following following = ReadFollowingDataNode(node);
    if (following != Following::DataNode)
        return following == Following::Other ? Step::GoOn : Step::Done;
    const int size = node->contentLength;
    if (m_pChapters || !MayHold(node->contentOffset, size))
        return Step::Failed;
    const Bytes table = Allocate(static_cast<std::size_t>(size));
    if (!table || ReadAt(node->contentOffset, table.get(), size) != size ||
        !StoreChapterOffsets(table.get(), size / UMDFormat::kIntegerSize))
        return Step::Failed;
    return Step::GoOn;
}

bool CUMDHandler::StoreChapterOffsets(const unsigned char* table, int count) {
    m_pChapters.reset(new (std::nothrow) ChapterEntry[static_cast<std::size_t>(count)]);
    if (!m_pChapters)
        return false;
    m_nChapterCount = count;
    ChapterEntry* chapters = m_pChapters.get();
    for (int i = 0; i < count; ++i, table += UMDFormat::kIntegerSize)
        chapters[i].offset = LoadInteger(table);
    return true;
}

CUMDHandler::Step CUMDHandler::ReadChapterTitles(UMDNode* node) {
    unsigned char content[UMDFormat::kIntegerSize] = {};
    const int size = std::min<int>(node->contentLength, UMDFormat::kIntegerSize);
    if (ReadAt(node->contentOffset, content, size) < 0)
        return Step::Failed;
    const Following following = ReadFollowingDataNode(node);
    if (following == Following::End)
        return Step::Done;
    if (following == Following::DataNode && node->type != LoadInteger(content))
        return Step::Failed;
    // Without a data node, `node` still is the 0x84 node, whose own content then holds the titles.
    return ReadTitleBlock(*node) ? ReadChunkRun(node) : Step::Failed;
}

// A block that claims more than the file holds reads as if zeros followed, which are empty titles.
// Of those zeros no more are allocated than the chapters can use: the record that the file's end
// cuts off may need kMaxTitleRecordSize, and each chapter after it one.
bool CUMDHandler::ReadTitleBlock(const UMDNode& block) {
    int size = block.contentLength;
    if (size > UMDFormat::kSmallClaim) {
        const std::int64_t held = BytesFrom(block.contentOffset);
        if (held < 0)
            return false;
        size = static_cast<int>(
            std::min<std::int64_t>(size, held + UMDFormat::kMaxTitleRecordSize + m_nChapterCount));
    }
    const Bytes titles = AllocateText(size);
    return titles && ReadAt(block.contentOffset, titles.get(), size) >= 0 &&
           ParseTitle(titles.get(), size);
}

int CUMDHandler::ParseTitle(const unsigned char* data, int size) {
    if (!m_pChapters)
        return 0;
    ByteReader records(data, static_cast<std::size_t>(size));
    ChapterEntry* chapters = m_pChapters.get();
    for (int i = 0; i < m_nChapterCount; ++i) {
        std::uint8_t length = 0;
        const unsigned char* text = nullptr;
        if (!records.ReadU8(&length) || !records.ReadBytes(length, &text))
            return 0;
        chapters[i].title = AllocateText(length);
        if (!chapters[i].title)
            return 0;
        std::memcpy(chapters[i].title.get(), text, length);
    }
    return 1;
}

CUMDHandler::Step CUMDHandler::ReadChunkRun(UMDNode* node) {
    Following following = ReadFollowingDataNode(node);
    while (following == Following::DataNode) {
        if (!AddChunkToList(node->contentOffset, node->contentLength))
            return Step::Failed;
        following = ReadFollowingDataNode(node);
    }
    return following == Following::Other ? Step::GoOn : Step::Done;
}

int CUMDHandler::AddChunkToList(int offset, int length) {
    if (m_nChunkCount == m_nChunkCapacity) {
        const int capacity = m_nChunkCapacity + UMDFormat::kChunkListGrowth;
        void* grown =
            std::realloc(m_pChunks.get(), static_cast<std::size_t>(capacity) * sizeof(ChunkEntry));
        if (!grown)
            return 0;
        static_cast<void>(m_pChunks.release()); // realloc took it
        m_pChunks.reset(static_cast<ChunkEntry*>(grown));
        m_nChunkCapacity = capacity;
    }
    m_pChunks.get()[m_nChunkCount++] = {offset, length};
    return 1;
}

// --- node headers -------------------------------------------------------------------------------

int CUMDHandler::ReadFunctionNode(int offset, UMDNode* node) {
    using namespace UMDFormat;
    unsigned char header[kFunctionHeaderSize];
    if (ReadAt(offset, header, kFunctionHeaderSize) != kFunctionHeaderSize ||
        header[0] != kFunctionMark)
        return 0;
    const int position = Position();
    if (position < 0)
        return 0;
    const int type = static_cast<std::int16_t>(LoadLE16(header + kFunctionTypeAt));
    const int length = header[kFunctionLengthAt];
    *node = {offset, length, type, length - kFunctionHeaderSize, position};
    return 1;
}

int CUMDHandler::ReadDataNode(int offset, UMDNode* node) {
    using namespace UMDFormat;
    unsigned char header[kDataHeaderSize];
    if (ReadAt(offset, header, kDataHeaderSize) != kDataHeaderSize || header[0] != kDataMark)
        return 0;
    const int position = Position();
    if (position < 0)
        return 0;
    const std::int32_t identifier = LoadInteger(header + kDataIdentifierAt);
    const std::uint32_t length = LoadLE32(header + kDataLengthAt);
    // Unsigned, because a length near -2^31 has no room for the subtraction.
    *node = {offset, static_cast<std::int32_t>(length), identifier,
             static_cast<std::int32_t>(length - kDataHeaderSize), position};
    return 1;
}

// A node shorter than its own header would lead back into itself, for ever when its length is 0; it
// ends the parse, as does a node whose header would pass MaxOffset.
bool CUMDHandler::ReadNextFunctionNode(UMDNode* node) {
    const std::int64_t offset = std::int64_t{node->offset} + node->length;
    return offset <= UMDFormat::kMaxOffset - UMDFormat::kFunctionHeaderSize &&
           ReadFunctionNode(static_cast<int>(offset), node) &&
           node->length >= UMDFormat::kFunctionHeaderSize;
}

CUMDHandler::Following CUMDHandler::ReadFollowingDataNode(UMDNode* node) {
    const std::int64_t offset = std::int64_t{node->offset} + node->length;
    if (offset > UMDFormat::kMaxOffset - UMDFormat::kDataHeaderSize)
        return Following::End;
    if (!ReadDataNode(static_cast<int>(offset), node))
        return Following::Other;
    return node->length < UMDFormat::kDataHeaderSize ? Following::End : Following::DataNode;
}

// --- the stream ---------------------------------------------------------------------------------

int CUMDHandler::ReadAt(int offset, unsigned char* buffer, int count) {
    int read = 0;
    if (m_pStream->Seek(offset, SeekFromBegin, nullptr) < 0 ||
        m_pStream->Read(buffer, count, &read) < 0)
        return -1;
    return read;
}

int CUMDHandler::Position() {
    long told = -1;
    if (m_pStream->Tell(&told) < 0)
        return -1;
    const std::int64_t position = told;
    return position >= 0 && position <= UMDFormat::kMaxOffset ? static_cast<int>(position) : -1;
}

std::int64_t CUMDHandler::BytesFrom(int offset) {
    long length = -1;
    if (m_pStream->GetLength(&length) < 0)
        return -1;
    return std::max(std::int64_t{length}, std::int64_t{0}) - offset;
}

// Whether to take memory for `size` bytes that a node claims. A small claim costs less to read than
// to doubt.
bool CUMDHandler::MayHold(int offset, int size) {
    return size <= UMDFormat::kSmallClaim || size <= BytesFrom(offset);
}

// --- queries ------------------------------------------------------------------------------------

int CUMDHandler::GetChunkCount() {
    return m_bReady ? m_nChunkCount : 0;
}

int CUMDHandler::GetContentLength() {
    return m_bReady ? m_nContentLength : 0;
}

unsigned char* CUMDHandler::GetChunkContent(int index, int* length) {
    if (!m_bReady || index < 0 || index >= m_nChunkCount)
        return nullptr;
    const ChunkEntry& chunk = m_pChunks.get()[index];
    if (!MayHold(chunk.offset, chunk.length))
        return nullptr;
    const Bytes compressed = Allocate(static_cast<std::size_t>(chunk.length));
    if (!compressed || ReadAt(chunk.offset, compressed.get(), chunk.length) != chunk.length)
        return nullptr;
    return Inflate(compressed.get(), static_cast<uInt>(chunk.length), length).release();
}

unsigned short* CUMDHandler::GetTitle() {
    return CopyUnits(m_pTitle);
}

unsigned short* CUMDHandler::GetAuthor() {
    return CopyUnits(m_pAuthor);
}

unsigned short* CUMDHandler::GetYear() {
    return CopyUnits(m_pYear);
}

unsigned short* CUMDHandler::GetMonth() {
    return CopyUnits(m_pMonth);
}

unsigned short* CUMDHandler::GetDay() {
    return CopyUnits(m_pDay);
}

unsigned short* CUMDHandler::GetGenre() {
    return CopyUnits(m_pGenre);
}

unsigned short* CUMDHandler::GetPublisher() {
    return CopyUnits(m_pPublisher);
}

unsigned short* CUMDHandler::GetVendor() {
    return CopyUnits(m_pVendor);
}

int CUMDHandler::GetChapterCount() {
    return m_bReady ? m_nChapterCount : 0;
}

unsigned short* CUMDHandler::GetChapterTitle(int index) {
    if (index < 0 || index >= GetChapterCount())
        return nullptr;
    return CopyUnits(m_pChapters.get()[index].title);
}

int CUMDHandler::GetChapterOffset(int index) {
    if (index < 0 || index >= GetChapterCount())
        return -1;
    return m_pChapters.get()[index].offset;
}

} // namespace QvFormat
