// What hosts that are already compiled rely on and the headers' own assertions cannot tell: the
// number of each operation's virtual slot, and the order of the fields.
#include <cstddef>
#include <cstring>
#include <initializer_list>
#include <type_traits>

#include <gtest/gtest.h>

#include "CreateFormatRenderInstance.h"
#include "ITextCustomizer.h"
#include "base/CFileStream.h"
#include "base/CMemoryStream.h"
#include "layout/CPangoLayout.h"
#include "layout/CTextFont.h"
#include "readingdata/CBookAnnotationImpl.h"
#include "readingdata/CBookAnnotationListProxy.h"
#include "readingdata/CBookIndexProxyImpl.h"
#include "readingdata/CBookInfoProxyImpl.h"
#include "readingdata/CBookPathTableProxyImpl.h"
#include "readingdata/CBookTagProxyImpl.h"
#include "readingdata/CQvpFile.h"
#include "render/CUMDRenderImpl.h"
#include "render/CUmdCustomizer.h"

#pragma GCC diagnostic ignored "-Winvalid-offsetof" // what this compiler lays out is the question

using namespace QvFormat;

namespace {

// The place in the virtual table that a pointer to a virtual operation holds, as the C++ binary
// interface of each processor has it.
template<typename Operation>
std::size_t SlotOf(Operation operation) {
    struct {
        std::size_t place;
        std::size_t adjustment;
    } words;
    static_assert(sizeof(operation) == sizeof(words));
    std::memcpy(&words, &operation, sizeof(words));
#if defined(__arm__) || defined(__aarch64__)
    const bool isVirtual = words.adjustment == 1;
#else
    const bool isVirtual = words.place % 2 == 1 && words.adjustment == 0;
#endif
    EXPECT_TRUE(isVirtual);
    return words.place / sizeof(void*);
}

// The operations of an interface, in order, behind the destructor's two entries.
template<typename Interface, typename... Operations>
void ExpectSlots(const char* name, Operations... operations) {
    static_assert(std::has_virtual_destructor_v<Interface> && std::is_abstract_v<Interface>);
    static_assert(sizeof(Interface) == sizeof(void*), "an interface holds no data");
    std::size_t slot = 2;
    for (const std::size_t actual : {SlotOf(operations)...}) {
        EXPECT_EQ(actual, slot) << "operation " << slot << " of " << name;
        ++slot;
    }
}

struct Field {
    const char* name;
    std::size_t offset, size, alignment;
};

// Fields stand directly behind each other, in this order, and nothing stands behind them.
void ExpectFields(std::size_t begin, std::initializer_list<Field> fields, std::size_t objectSize) {
    const auto aligned = [](std::size_t n, std::size_t to) { return (n + to - 1) / to * to; };
    for (const Field& field : fields) {
        EXPECT_EQ(field.offset, aligned(begin, field.alignment)) << field.name;
        begin = field.offset + field.size;
    }
    EXPECT_EQ(objectSize, aligned(begin, sizeof(void*)));
}

constexpr std::size_t kNoTable = 0;
constexpr std::size_t kTable = sizeof(void*); // the pointer to the virtual table comes first

#define FIELD(field)                                                                               \
    { #field, offsetof(Self, field), sizeof(Self::field), alignof(decltype(Self::field)) }

struct FileStream : CFileStream {
    using Self = FileStream;
    static void Check() {
        ExpectFields(kTable, {FIELD(m_pFile), FIELD(m_nOpenType)}, sizeof(CFileStream));
    }
};

struct MemoryStream : CMemoryStream {
    using Self = MemoryStream;
    static void Check() {
        ExpectFields(kTable, {FIELD(m_pBuffer), FIELD(m_nLength), FIELD(m_nPosition)},
                     sizeof(CMemoryStream));
    }
};

struct Handler : CUMDHandler {
    using Self = Handler;
    static void Check() {
        ExpectFields(kTable,
                     {FIELD(m_bReady), FIELD(m_pStream), FIELD(m_nContentLength),
                      FIELD(m_nChapterCount), FIELD(m_pChunks), FIELD(m_nChunkCount),
                      FIELD(m_nChunkCapacity), FIELD(m_pChapters), FIELD(m_pTitle),
                      FIELD(m_pAuthor), FIELD(m_pYear), FIELD(m_pMonth), FIELD(m_pDay),
                      FIELD(m_pGenre), FIELD(m_pPublisher), FIELD(m_pVendor)},
                     sizeof(CUMDHandler));
    }
};

struct Layout : CPangoLayout {
    using Self = Layout;
    static void Check() {
        ExpectFields(kTable,
                     {FIELD(m_nLayoutWidth), FIELD(m_nLayoutHeight), FIELD(m_nPageCount),
                      FIELD(m_nLineCount), FIELD(m_pLineTable), FIELD(m_pFontMap),
                      FIELD(m_pContext), FIELD(m_pLayout), FIELD(m_pText), FIELD(m_nTextLength)},
                     sizeof(CPangoLayout));
    }
};

struct Font : CTextFont {
    using Self = Font;
    static void Check() {
        ExpectFields(kNoTable, {FIELD(m_bLoaded), FIELD(m_pLibrary), FIELD(m_pFace)},
                     sizeof(CTextFont));
    }
};

struct Render : CUMDRenderImpl {
    using Self = Render;
    static void Check() {
        ExpectFields(kTable,
                     {FIELD(m_pBookInfoEntity), FIELD(m_pLayout),        FIELD(m_pUmdHandler),
                      FIELD(m_pChineseFont),    FIELD(m_pEnglishFont),   FIELD(m_nFontSize),
                      FIELD(m_nBlockSize),      FIELD(m_nSegmentBytes),  FIELD(m_nBlocksPerSegment),
                      FIELD(m_bInitialized),    FIELD(m_bFontChanged),   FIELD(m_nFirstBlock),
                      FIELD(m_nStartOffset),    FIELD(m_nSegmentBlocks), FIELD(m_pChunkOffsets),
                      FIELD(m_pBlockOffsets),   FIELD(m_nLineCount),     FIELD(m_nCurLine),
                      FIELD(m_pLineTable),      FIELD(m_nContentLength), FIELD(m_nBlockCount)},
                     sizeof(CUMDRenderImpl));
    }
};

struct Container : CQvpFile {
    using Self = Container;
    static void Check() {
        ExpectFields(kTable,
                     {FIELD(m_bFromPath), FIELD(m_pszPath), FIELD(m_pStream), FIELD(m_pImage),
                      FIELD(m_nImageSize), FIELD(m_bOpened), FIELD(m_pFileDataList),
                      FIELD(m_pPathTableList), FIELD(m_nVersion), FIELD(m_nRevision)},
                     sizeof(CQvpFile));
    }
};

struct Node : Qvp_Node {
    using Self = Node;
    static void Check() {
        ExpectFields(kNoTable,
                     {FIELD(nType), FIELD(nId), FIELD(nOffset), FIELD(bModified), FIELD(nLength),
                      FIELD(pData), FIELD(bBorrowed), FIELD(pNext)},
                     sizeof(Qvp_Node));
    }
};

struct FileData : Qvp_File_Data_Node {
    using Self = FileData;
    static void Check() {
        ExpectFields(kNoTable,
                     {FIELD(nFileId), FIELD(pBookInfo), FIELD(pIndexList),
                      FIELD(pPositionAnnotations), FIELD(pRangeAnnotations),
                      FIELD(pCommentAnnotations), FIELD(pTagList), FIELD(pNext)},
                     sizeof(Qvp_File_Data_Node));
    }
};

struct BookInfo : CBookInfoProxyImpl {
    using Self = BookInfo;
    static void Check() {
        ExpectFields(kTable,
                     {FIELD(m_nBookNameOffset), FIELD(m_nAuthorNameOffset),
                      FIELD(m_nCoverPagePathOffset), FIELD(m_nPublisherNameOffset),
                      FIELD(m_nISBNOffset), FIELD(m_nBookSourceOffset),
                      FIELD(m_nReadingProgressOffset), FIELD(m_nIsSerializedOffset),
                      FIELD(m_nLatestSectionOffset), FIELD(m_nSummaryOffset),
                      FIELD(m_nReadingBookmarkOffset), FIELD(m_bParsed), FIELD(m_pFile),
                      FIELD(m_nFileId), FIELD(m_pNode)},
                     sizeof(CBookInfoProxyImpl));
    }
};

struct Annotation : CBookAnnotationImpl {
    using Self = Annotation;
    static void Check() {
        ExpectFields(kTable,
                     {FIELD(m_eAnnotationType), FIELD(m_nBlockIndex), FIELD(m_nOffset),
                      FIELD(m_nLength), FIELD(m_pszComment)},
                     sizeof(CBookAnnotationImpl));
    }
};

struct Annotations : CBookAnnotationListProxy {
    using Self = Annotations;
    static void Check() {
        ExpectFields(kTable,
                     {FIELD(m_pFile), FIELD(m_nFileId), FIELD(m_pPositionList), FIELD(m_pRangeList),
                      FIELD(m_pCommentList)},
                     sizeof(CBookAnnotationListProxy));
    }
    static std::size_t ReadSlot() { return SlotOf(&Self::ReadAnnotationList); }
    static std::size_t WriteSlot() { return SlotOf(&Self::WriteAnnotationList); }
};

template<typename Proxy>
struct List : Proxy {
    using Self = List;
    static void Check() {
        ExpectFields(kTable, {FIELD(m_pFile), FIELD(m_nFileId), FIELD(m_pList)}, sizeof(Proxy));
    }
};

TEST(Abi, FieldsOfTheListedClassesStandInTheirOrderWithoutGaps) {
    FileStream::Check();
    MemoryStream::Check();
    Handler::Check();
    Layout::Check();
    Font::Check();
    Render::Check();
    Container::Check();
    Node::Check();
    FileData::Check();
    BookInfo::Check();
    Annotation::Check();
    Annotations::Check();
    List<CBookIndexProxyImpl>::Check();
    List<CBookTagProxyImpl>::Check();
    List<CBookPathTableProxyImpl>::Check();
}

TEST(Abi, OperationsOfReadingHaveTheirSlots) {
    ExpectSlots<IFormatRender>(
        "IFormatRender", &IFormatRender::SetScreenRes, &IFormatRender::GetScreenRes,
        &IFormatRender::SetBoldLevel, &IFormatRender::GetBoldLevel, &IFormatRender::GotoPrevScreen,
        &IFormatRender::GotoNextScreen, &IFormatRender::GotoPosition, &IFormatRender::DrawCurScreen,
        &IFormatRender::GetTextRenderForCurPage, &IFormatRender::GetTextCustomizer,
        &IFormatRender::GetTOCMarks, &IFormatRender::GetPagingHandler);
    ExpectSlots<ITextCustomizer>("ITextCustomizer", &ITextCustomizer::SetChineseFont,
                                 &ITextCustomizer::SetEnglishFont, &ITextCustomizer::SetFontSize);
    ExpectSlots<ITextLayout>(
        "ITextLayout", &ITextLayout::SetLayoutRect, &ITextLayout::GetLayoutRect,
        &ITextLayout::SetText, &ITextLayout::SetFontDescription, &ITextLayout::SetWrap,
        &ITextLayout::SetEllipsize, &ITextLayout::SetAlignment, &ITextLayout::GetWrap,
        &ITextLayout::GetEllipsize, &ITextLayout::GetAlignment, &ITextLayout::SetIndent,
        &ITextLayout::GetIndent, &ITextLayout::SetLineSpacing, &ITextLayout::GetLineSpacing,
        &ITextLayout::SetJustify, &ITextLayout::SetSingleParagraphMode, &ITextLayout::GetJustify,
        &ITextLayout::GetSingleParagraphMode, &ITextLayout::GetLineCount,
        &ITextLayout::GetPageCount, &ITextLayout::GetLineTable, &ITextLayout::DrawPageFromPageNo,
        &ITextLayout::DrawPageFromLineNo);
    ExpectSlots<IQVSequentialStream>(
        "IQVSequentialStream", &IQVSequentialStream::Read, &IQVSequentialStream::ReadByte,
        &IQVSequentialStream::Seek, &IQVSequentialStream::GetCanRead,
        &IQVSequentialStream::GetCanSeek, &IQVSequentialStream::GetCanWrite,
        &IQVSequentialStream::GetLength, &IQVSequentialStream::Tell, &IQVSequentialStream::Close,
        &IQVSequentialStream::Flush, &IQVSequentialStream::Write, &IQVSequentialStream::WriteByte);
}

TEST(Abi, OperationsOfReadingDataHaveTheirSlots) {
    using SaveToPath = QVRESULT (IBookInfoEntity::*)(char const*);
    using SaveToStream = QVRESULT (IBookInfoEntity::*)(IQVSequentialStream*);
    ExpectSlots<IBookInfoEntity>(
        "IBookInfoEntity", &IBookInfoEntity::GetInfoProxy, &IBookInfoEntity::GetIndexProxy,
        &IBookInfoEntity::GetAnnotationProxy, &IBookInfoEntity::GetTagProxy,
        &IBookInfoEntity::GetPathTableProxy, static_cast<SaveToPath>(&IBookInfoEntity::Save),
        static_cast<SaveToStream>(&IBookInfoEntity::Save), &IBookInfoEntity::Flush);
    ExpectSlots<IBookInfoProxy>("IBookInfoProxy", &IBookInfoProxy::GetBookName,
                                &IBookInfoProxy::GetAuthorName, &IBookInfoProxy::GetCoverPagePath,
                                &IBookInfoProxy::GetPublisherName, &IBookInfoProxy::GetISBN,
                                &IBookInfoProxy::GetBookSource, &IBookInfoProxy::GetReadingProgress,
                                &IBookInfoProxy::GetIsSerialized, &IBookInfoProxy::GetLatestSection,
                                &IBookInfoProxy::GetSummary, &IBookInfoProxy::GetReadingBookmark,
                                &IBookInfoProxy::SetBookName, &IBookInfoProxy::SetAuthorName,
                                &IBookInfoProxy::SetCoverPagePath,
                                &IBookInfoProxy::SetPublisherName, &IBookInfoProxy::SetISBN,
                                &IBookInfoProxy::SetReadingProgress, &IBookInfoProxy::SetBookSource,
                                &IBookInfoProxy::SetIsSerialized, &IBookInfoProxy::SetLatestSection,
                                &IBookInfoProxy::SetSummary, &IBookInfoProxy::SetReadingBookmark);
    ExpectSlots<IBookAnnotation>(
        "IBookAnnotation", &IBookAnnotation::GetAnnotationType, &IBookAnnotation::GetBookmarkType,
        &IBookAnnotation::GetDataSize, &IBookAnnotation::GetBlockIndex,
        &IBookAnnotation::SetBlockIndex, &IBookAnnotation::GetOffset, &IBookAnnotation::SetOffset,
        &IBookAnnotation::GetLength, &IBookAnnotation::SetLength, &IBookAnnotation::GetComment,
        &IBookAnnotation::SetComment, &IBookAnnotation::ReadData, &IBookAnnotation::WriteData);
    ExpectSlots<IBookAnnotationProxy>("IBookAnnotationProxy",
                                      &IBookAnnotationProxy::GetAnnotationList,
                                      &IBookAnnotationProxy::SetAnnotationList);
    EXPECT_EQ(Annotations::ReadSlot(), 4u);
    EXPECT_EQ(Annotations::WriteSlot(), 5u);
    ExpectSlots<IBookIndexProxy>("IBookIndexProxy", &IBookIndexProxy::GetIndexList,
                                 &IBookIndexProxy::SetIndexList);
    ExpectSlots<IBookTagProxy>("IBookTagProxy", &IBookTagProxy::GetTagList,
                               &IBookTagProxy::SetTagList);
    ExpectSlots<IBookPathTableProxy>("IBookPathTableProxy", &IBookPathTableProxy::GetPathTable,
                                     &IBookPathTableProxy::SetPathTable);
}

} // namespace
