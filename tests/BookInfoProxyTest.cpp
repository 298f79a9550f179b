#include "ReadingDataFixture.h"
#include "readingdata/CBookInfoProxyImpl.h"

using namespace readingdata;

namespace {

class BookInfoProxyTest : public Fixture {
protected:
    // A new proxy for file id 1 on a container opened anew.
    IBookInfoProxy& Proxy() {
        Reopen();
        m_pProxy = std::make_unique<CBookInfoProxyImpl>(m_pFile.get(), 1);
        return *m_pProxy;
    }

    // An operation succeeded and marked the record, which now has these data.
    void ExpectWritten(QVRESULT result, const std::string& data) {
        EXPECT_EQ(result, QV_S_OK);
        EXPECT_EQ(m_pFile->Flush(), QV_S_OK);
        EXPECT_EQ(FileOf({{1, 1, data}}), Read());
    }

    std::unique_ptr<IBookInfoProxy> m_pProxy;
};

TEST_F(BookInfoProxyTest, NoRecordGettersFailAndCreateNothingFirstSetterAppendsTheRecord) {
    IBookInfoProxy& proxy = Proxy();
    for (const StringField& field : kStringFields)
        EXPECT_EQ(Get(proxy, field.get), "failed") << field.name;
    EXPECT_EQ(Get(proxy).first, QV_E_FAIL);
    EXPECT_EQ(Shape(), "");
    const std::string data = EmptyInfo().replace(kProgressAt, 4, "\1\2\3\4");
    ExpectWritten(proxy.SetReadingProgress(0x04030201), data);
    EXPECT_EQ(Get(proxy, &IBookInfoProxy::GetBookName), "");
    EXPECT_EQ(Get(proxy, &IBookInfoProxy::GetLatestSection), "failed");
    EXPECT_EQ(std::pair(QV_S_OK, Note(0, 0, 0, "")), Get(proxy));
}

TEST_F(BookInfoProxyTest, EveryFieldSetFlushedAndReopenedHasItsBytesAndComesBack) {
    IBookInfoProxy* proxy = &Proxy();
    std::string data = EmptyInfo();
    for (const StringField& field : kStringFields) {
        const std::string longest(field.capacity - 1, field.name[0]);
        data.replace(field.offset + 4, longest.size(), longest);
        ExpectWritten((proxy->*field.set)(longest.c_str(), field.capacity - 1), data);
        EXPECT_EQ((proxy->*field.set)(longest.c_str(), field.capacity), QV_E_INVALIDARG);
        EXPECT_EQ((proxy->*field.set)("", 0xFFFFFFFF), QV_E_INVALIDARG);
    }
    data.replace(1128 + 4, 6, std::string("ab\0\0\0\0", 6)); // the ISBN, cut at its NUL
    ExpectWritten(proxy->SetISBN("ab\0cd", 5), data);
    data.replace(kBookmarkAt + 4, 9, std::string("\0\x0D\x0C\x0B\x0A\x02\x01\0\0", 9));
    ExpectWritten(Set(*proxy, Note(0x0A0B0C0D, 0x102, 0, "")), data);
    data[kSerializedAt] = 1;
    ExpectWritten(proxy->SetIsSerialized(0x500), data);
    data[kSourceAt] = '\xFE';
    ExpectWritten(proxy->SetBookSource(static_cast<QvBookSource>(0x1FE)), data);
    data.replace(kProgressAt, 4, "\xFF\xFE\xFD\xFC");
    ExpectWritten(proxy->SetReadingProgress(0xFCFDFEFF), data);

    proxy = &Proxy();
    for (const StringField& field : kStringFields) {
        const std::string stored = data.substr(field.offset + 4, field.capacity);
        EXPECT_EQ(stored.c_str(), Get(*proxy, field.get)) << field.name;
    }
    QvBookSource source = QvBookSourceDefault;
    int serialized = 0;
    unsigned int progress = 0;
    EXPECT_EQ(proxy->GetBookSource(&source), QV_S_OK);
    EXPECT_EQ(proxy->GetIsSerialized(&serialized), QV_S_OK);
    EXPECT_EQ(proxy->GetReadingProgress(&progress), QV_S_OK);
    EXPECT_EQ(std::tuple(0xFE, 1, 0xFCFDFEFF), std::tuple(int{source}, serialized, progress));
    EXPECT_EQ(std::pair(QV_S_OK, Note(0x0A0B0C0D, 0x102, 0, "")), Get(*proxy));
    data[kSerializedAt] = 0;
    ExpectWritten(proxy->SetIsSerialized(0), data);
    EXPECT_EQ(Get(*proxy, &IBookInfoProxy::GetLatestSection), "failed");
}

TEST_F(BookInfoProxyTest, OtherCapacitiesStringWithoutEndForeignBookmarkOthersStillRead) {
    std::string data = EmptyInfo().replace(0, 204, Le32(300) + std::string(300, 'x')) + "more";
    data.replace(204 + 100 + 4, 3, "Ann");
    data[kBookmarkAt + 100 + 4] = 1;
    data[kSerializedAt + 100] = 2;
    data.replace(2290 + 100 + 4, 2, "42");
    Write(FileOf({{1, 1, data}, {1, 1, "a second record is not used"}}));
    IBookInfoProxy& proxy = Proxy();
    EXPECT_EQ(Get(proxy, &IBookInfoProxy::GetBookName), "failed");
    EXPECT_EQ(Get(proxy, &IBookInfoProxy::GetAuthorName), "Ann");
    EXPECT_EQ(Get(proxy, &IBookInfoProxy::GetLatestSection), "42");
    EXPECT_EQ(proxy.SetBookName(std::string(299, 'n').c_str(), 299), QV_S_OK);
    int serialized = 0;
    EXPECT_EQ(proxy.GetIsSerialized(&serialized), QV_S_OK);
    EXPECT_EQ(serialized, 1);

    CBookAnnotationImpl note(QvAnnotationComment);
    IBookAnnotation* bookmark = &note;
    EXPECT_EQ(proxy.GetReadingBookmark(&bookmark), QV_E_FAIL);
    EXPECT_EQ(bookmark, nullptr);
    Give({3, 0, 0, "123456"}, &note); // 14 bytes and the text: 20
    EXPECT_EQ(proxy.SetReadingBookmark(&note), QV_S_OK);
    Give({4, 0, 0, "1234567"}, &note);
    EXPECT_EQ(proxy.SetReadingBookmark(&note), QV_E_FAIL);
    EXPECT_EQ(std::pair(QV_S_OK, Note(3, 0, 0, "")), Get(proxy));
}

TEST_F(BookInfoProxyTest, DamagedRecordEveryOperationFailsAndTheRecordStays) {
    std::vector<std::string> damaged = {
        EmptyInfo().replace(0, 4, Le32(0)), EmptyInfo().replace(kBookmarkAt, 4, Le32(0xFFFFFFFF)),
        EmptyInfo().replace(1128, 4, Le32(0xFFFFFFFC)), EmptyInfo().substr(0, 2805)};
    for (std::size_t length = 1; length < 2806; length += 93)
        damaged.push_back(EmptyInfo().substr(0, length));
    for (const std::string& data : damaged) {
        WriteAndOpen({{1, 1, data}});
        CBookInfoProxyImpl proxy(m_pFile.get(), 1);
        for (int i = 0; i < 2; ++i) {
            EXPECT_EQ(Get(proxy, &IBookInfoProxy::GetBookName), "failed");
            EXPECT_EQ(proxy.SetReadingProgress(1), QV_E_FAIL);
            EXPECT_EQ(proxy.SetBookName("a", 1), QV_E_FAIL);
        }
        ExpectWritten(QV_S_OK, data);
    }
}

} // namespace
