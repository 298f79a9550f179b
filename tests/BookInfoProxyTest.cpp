#include <cstring>

#include "IBookAnnotation.h"
#include "IBookInfoProxy.h"
#include "ReadingDataFixture.h"
#include "readingdata/CBookInfoProxyImpl.h"

using namespace QvFormat;
using namespace readingdata;

namespace {

using StringGetter = QVRESULT (IBookInfoProxy::*)(char**);
using StringSetter = QVRESULT (IBookInfoProxy::*)(char const*, unsigned int);

struct StringField {
    const char* name;
    StringGetter get;
    StringSetter set;
    std::size_t offset; // in the record data this library makes
    unsigned int capacity;
};

const StringField StringFields[] = {
    {"book name", &IBookInfoProxy::GetBookName, &IBookInfoProxy::SetBookName, 0, 200},
    {"author", &IBookInfoProxy::GetAuthorName, &IBookInfoProxy::SetAuthorName, 204, 200},
    {"cover", &IBookInfoProxy::GetCoverPagePath, &IBookInfoProxy::SetCoverPagePath, 408, 512},
    {"publisher", &IBookInfoProxy::GetPublisherName, &IBookInfoProxy::SetPublisherName, 924, 200},
    {"ISBN", &IBookInfoProxy::GetISBN, &IBookInfoProxy::SetISBN, 1128, 100},
    {"summary", &IBookInfoProxy::GetSummary, &IBookInfoProxy::SetSummary, 1232, 1024},
    {"section", &IBookInfoProxy::GetLatestSection, &IBookInfoProxy::SetLatestSection, 2290, 512},
};

constexpr std::size_t SourceAt = 2260, ProgressAt = 2261, BookmarkAt = 2265, SerializedAt = 2289;

// New record data, from the capacities.
std::string EmptyData() {
    std::string data(2806, '\0');
    for (const StringField& field : StringFields)
        data.replace(field.offset, 4, Le32(field.capacity));
    return data.replace(BookmarkAt, 4, Le32(20));
}

class BookInfoProxyTest : public Fixture {
protected:
    // The proxy for file id 1; releases proxy and container of the last call.
    IBookInfoProxy& Proxy() {
        m_pProxy.reset();
        m_pFile.reset();
        m_pFile = Open(1);
        m_pProxy = Obtain<IBookInfoProxy>([&](auto** p) { return m_pFile->GetInfoProxy(p, 1); });
        return *m_pProxy;
    }

    static std::string Get(IBookInfoProxy& proxy, StringGetter get) {
        char* text = nullptr;
        const QVRESULT result = (proxy.*get)(&text);
        const std::unique_ptr<char[]> owned(text);
        return result == QV_S_OK ? text : "failed";
    }

    static std::pair<unsigned int, unsigned int> Bookmark(IBookInfoProxy& proxy) {
        const auto bookmark =
            Obtain<IBookAnnotation>([&](auto** p) { return proxy.GetReadingBookmark(p); });
        unsigned int block = 99, offset = 99;
        EXPECT_EQ(QV_S_OK, bookmark->GetBlockIndex(&block));
        EXPECT_EQ(QV_S_OK, bookmark->GetOffset(&offset));
        return {block, offset};
    }

    std::unique_ptr<CQvpFile> m_pFile;
    std::unique_ptr<IBookInfoProxy> m_pProxy;
};

TEST_F(BookInfoProxyTest, NoRecord_Getters_FailAndCreateNothing_FirstSetterAppendsTheRecord) {
    IBookInfoProxy& proxy = Proxy();
    for (const StringField& field : StringFields)
        EXPECT_EQ("failed", Get(proxy, field.get)) << field.name;
    IBookAnnotation* bookmark = nullptr;
    unsigned int progress = 0;
    EXPECT_EQ(QV_E_FAIL, proxy.GetReadingBookmark(&bookmark));
    EXPECT_EQ(QV_E_FAIL, proxy.GetReadingProgress(&progress));
    EXPECT_EQ(QV_S_OK, m_pFile->Flush());
    EXPECT_EQ(5u, Read().size());

    EXPECT_EQ(QV_S_OK, proxy.SetReadingProgress(0x04030201));
    EXPECT_EQ("", Get(proxy, &IBookInfoProxy::GetBookName));
    EXPECT_EQ("failed", Get(proxy, &IBookInfoProxy::GetLatestSection));
    QvBookSource source = static_cast<QvBookSource>(7);
    int serialized = 7;
    EXPECT_EQ(QV_S_OK, proxy.GetBookSource(&source));
    EXPECT_EQ(QV_S_OK, proxy.GetIsSerialized(&serialized));
    EXPECT_EQ(0, source + serialized);
    EXPECT_EQ(std::make_pair(0u, 0u), Bookmark(proxy));
    EXPECT_EQ(QV_S_OK, m_pFile->Flush());
    EXPECT_EQ(FileOf({{1, 1, EmptyData().replace(ProgressAt, 4, "\1\2\3\4")}}), Read());
}

TEST_F(BookInfoProxyTest, EveryField_SetFlushedAndReopened_HasItsBytesAndComesBack) {
    IBookInfoProxy& proxy = Proxy();
    std::string expected = EmptyData();
    for (const StringField& field : StringFields) {
        EXPECT_EQ(QV_S_OK, (proxy.*field.set)(field.name, unsigned(std::strlen(field.name))));
        expected.replace(field.offset + 4, std::strlen(field.name), field.name);
    }
    CBookAnnotationImpl bookmark(QvAnnotationPosition);
    bookmark.SetBlockIndex(0x0A0B0C0D);
    bookmark.SetOffset(0x102);
    EXPECT_EQ(QV_S_OK, proxy.SetReadingBookmark(&bookmark));
    EXPECT_EQ(QV_S_OK, proxy.SetIsSerialized(5));
    EXPECT_EQ(QV_S_OK, proxy.SetBookSource(static_cast<QvBookSource>(0x1FE)));
    EXPECT_EQ(QV_S_OK, proxy.SetReadingProgress(0xFFFFFFFF));
    expected.replace(BookmarkAt + 4, 9, std::string("\0\x0D\x0C\x0B\x0A\x02\x01\0\0", 9));
    expected[SerializedAt] = 1;
    expected[SourceAt] = '\xFE';
    expected.replace(ProgressAt, 4, "\xFF\xFF\xFF\xFF");

    IBookInfoProxy& reopened = Proxy();
    EXPECT_EQ(FileOf({{1, 1, expected}}), Read());
    for (const StringField& field : StringFields)
        EXPECT_EQ(field.name, Get(reopened, field.get));
    QvBookSource source = QvBookSourceDefault;
    int serialized = 0;
    EXPECT_EQ(QV_S_OK, reopened.GetBookSource(&source));
    EXPECT_EQ(QV_S_OK, reopened.GetIsSerialized(&serialized));
    EXPECT_EQ(0xFE, source);
    EXPECT_EQ(1, serialized);
    EXPECT_EQ(std::make_pair(0x0A0B0C0Du, 0x102u), Bookmark(reopened));
    EXPECT_EQ(QV_S_OK, reopened.SetIsSerialized(0));
    EXPECT_EQ("failed", Get(reopened, &IBookInfoProxy::GetLatestSection));
}

TEST_F(BookInfoProxyTest, Strings_UpToCapacityLessOne_AreTakenAndCutAtTheirNul) {
    IBookInfoProxy& proxy = Proxy();
    EXPECT_EQ(QV_S_OK, proxy.SetIsSerialized(1));
    for (const StringField& field : StringFields) {
        const std::string longest(field.capacity - 1, 'x');
        EXPECT_EQ(QV_S_OK, (proxy.*field.set)(longest.c_str(), field.capacity - 1)) << field.name;
        EXPECT_EQ(QV_E_INVALIDARG, (proxy.*field.set)(longest.c_str(), field.capacity));
        EXPECT_EQ(QV_E_INVALIDARG, (proxy.*field.set)("", 0xFFFFFFFF));
        EXPECT_EQ(longest, Get(proxy, field.get)) << field.name;
    }
    EXPECT_EQ(QV_S_OK, proxy.SetISBN("ab\0cd", 5));
    EXPECT_EQ("ab", Get(proxy, &IBookInfoProxy::GetISBN));
    EXPECT_EQ(QV_S_OK, m_pFile->Flush());
    EXPECT_EQ(std::string("ab\0\0\0\0xx", 8), Records().at(0).data.substr(1128 + 4, 8));
}

TEST_F(BookInfoProxyTest, RecordWithOtherCapacitiesOrMoreBytes_IsReadByWalkingThem) {
    std::string data = EmptyData();
    data.replace(0, 204, Le32(300) + std::string(300, '\0')).append("more");
    data.replace(204 + 100 + 4, 3, "Ann");
    data[SerializedAt + 100] = 2;
    data.replace(2290 + 100 + 4, 2, "42");
    Write(FileOf({{1, 1, data}, {1, 1, "a second record is not used"}}));
    IBookInfoProxy& proxy = Proxy();
    EXPECT_EQ("Ann", Get(proxy, &IBookInfoProxy::GetAuthorName));
    EXPECT_EQ("42", Get(proxy, &IBookInfoProxy::GetLatestSection));
    EXPECT_EQ(QV_S_OK, proxy.SetBookName(std::string(299, 'n').c_str(), 299));
}

TEST_F(BookInfoProxyTest, DamagedRecord_EveryOperationFailsAndTheRecordStays) {
    std::vector<std::string> damaged = {EmptyData().replace(0, 4, Le32(0)), "x",
                                        EmptyData().replace(BookmarkAt, 4, Le32(0xFFFFFFFF)),
                                        EmptyData().replace(1128, 4, Le32(0xFFFFFFFC))};
    for (std::size_t length = 1; length < 2806; length += 93)
        damaged.push_back(EmptyData().substr(0, length));
    damaged.push_back(EmptyData().substr(0, 2805));
    for (const std::string& data : damaged) {
        m_pProxy.reset();
        m_pFile.reset();
        Write(FileOf({{1, 1, data}}));
        IBookInfoProxy& proxy = Proxy();
        for (int i = 0; i < 2; ++i) {
            EXPECT_EQ("failed", Get(proxy, &IBookInfoProxy::GetBookName));
            EXPECT_EQ(QV_E_FAIL, proxy.SetReadingProgress(1));
            EXPECT_EQ(QV_E_FAIL, proxy.SetBookName("a", 1));
        }
        EXPECT_EQ(QV_S_OK, m_pFile->Flush());
        EXPECT_EQ(FileOf({{1, 1, data}}), Read());
    }
}

TEST_F(BookInfoProxyTest, StringWithoutEndAndForeignBookmark_Fail_OthersStillRead) {
    std::string data = EmptyData().replace(4, 200, std::string(200, 'x'));
    data[BookmarkAt + 4] = 1;
    Write(FileOf({{1, 1, data}}));
    IBookInfoProxy& proxy = Proxy();
    EXPECT_EQ("failed", Get(proxy, &IBookInfoProxy::GetBookName));
    EXPECT_EQ("", Get(proxy, &IBookInfoProxy::GetAuthorName));
    IBookAnnotation* bookmark = nullptr;
    EXPECT_EQ(QV_E_FAIL, proxy.GetReadingBookmark(&bookmark));
    EXPECT_EQ(nullptr, bookmark);
}

TEST_F(BookInfoProxyTest, CommentAsBookmark_SixBytesFit_SevenLeaveTheSlot) {
    IBookInfoProxy& proxy = Proxy();
    CBookAnnotationImpl note(QvAnnotationComment);
    char six[] = "123456", seven[] = "1234567";
    note.SetBlockIndex(3);
    note.SetComment(six);
    EXPECT_EQ(QV_S_OK, proxy.SetReadingBookmark(&note));
    note.SetBlockIndex(4);
    note.SetComment(seven);
    EXPECT_EQ(QV_E_FAIL, proxy.SetReadingBookmark(&note));
    EXPECT_EQ(std::make_pair(3u, 0u), Bookmark(proxy));
}

TEST_F(BookInfoProxyTest, NoContainerOrNullPointer_IsRefusedInThatOrder) {
    CBookInfoProxyImpl none(nullptr, 1);
    EXPECT_EQ(QV_E_NOTREADY, none.GetBookName(nullptr));
    EXPECT_EQ(QV_E_NOTREADY, none.SetReadingBookmark(nullptr));
    EXPECT_EQ(QV_E_NOTREADY, none.SetIsSerialized(1));
    IBookInfoProxy& proxy = Proxy();
    EXPECT_EQ(QV_E_INVALIDARG, proxy.GetLatestSection(nullptr));
    EXPECT_EQ(QV_E_INVALIDARG, proxy.SetBookName(nullptr, 0));
    EXPECT_EQ(QV_E_INVALIDARG, proxy.SetReadingBookmark(nullptr));
    EXPECT_EQ(QV_E_INVALIDARG, proxy.GetReadingBookmark(nullptr));
    EXPECT_EQ(QV_E_INVALIDARG, proxy.GetBookSource(nullptr));
}

} // namespace
