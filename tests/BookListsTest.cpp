#include "ReadingDataFixture.h"
#include "readingdata/CBookPathTableProxyImpl.h"
#include "readingdata/CBookTagProxyImpl.h"

using namespace QvFormat;
using namespace readingdata;

namespace {

using Strings = std::vector<std::string>;

class BookListsTest : public Fixture {
protected:
    // A new proxy sets or gets the list of file id 1.
    template<typename Proxy, typename List>
    QVRESULT SetBy(const List& list) {
        Proxy proxy(m_pFile.get(), 1);
        return Set(proxy, list);
    }
    template<typename Proxy, typename List>
    QVRESULT GetBy(List* list) {
        Proxy proxy(m_pFile.get(), 1);
        return Get(proxy, list);
    }
    QVRESULT SetIndex(const std::vector<int>& list) { return SetBy<CBookIndexProxyImpl>(list); }
    QVRESULT GetIndex(std::vector<int>* list) { return GetBy<CBookIndexProxyImpl>(list); }
    QVRESULT SetTags(const Strings& list) { return SetBy<CBookTagProxyImpl>(list); }
    QVRESULT GetTags(Strings* list) { return GetBy<CBookTagProxyImpl>(list); }
    QVRESULT GetPaths(std::vector<Path>* list) { return GetBy<CBookPathTableProxyImpl>(list); }

    // Paths with their position and its double as values.
    QVRESULT SetPaths(const Strings& paths) {
        std::vector<Path> list;
        for (const std::string& path : paths) {
            const auto i = static_cast<unsigned int>(list.size());
            list.push_back({i, 2 * i, path});
        }
        CBookPathTableProxyImpl proxy(m_pFile.get(), 0xFFFFFFFF);
        const QVRESULT result = Set(proxy, list);
        if (result == QV_S_OK)
            m_Paths = list;
        return result;
    }

    // The table holds what was set last.
    void ExpectPaths() {
        std::vector<Path> stored;
        EXPECT_EQ(QV_S_OK, GetPaths(&stored));
        EXPECT_EQ(m_Paths, stored);
    }

    void Reopen(int create = 0) {
        m_pFile.reset();
        m_pFile = Open(create);
    }

    void WriteAndOpen(const std::vector<Record>& records) {
        m_pFile.reset();
        Write(FileOf(records));
        m_pFile = Open();
    }

    // "type*length(count)" of every record in the file.
    std::string Shape() const {
        std::string shape;
        for (const Record& record : Records())
            shape += std::to_string(record.type) + "*" + std::to_string(record.data.size()) + "(" +
                     std::to_string(FromLe32(record.data, 0)) + ") ";
        return shape;
    }

    std::unique_ptr<CQvpFile> m_pFile;
    std::vector<int> m_Index;
    Strings m_Tags;
    std::vector<Path> m_Paths;
};

TEST_F(BookListsTest, Index_GrownShrunkAndGrownAgain_ReusesItsRecords) {
    Reopen(1);
    EXPECT_EQ(QV_E_FAIL, GetIndex(&m_Index));
    EXPECT_EQ(QV_S_OK, SetIndex({}));
    EXPECT_EQ(QV_E_FAIL, GetIndex(&m_Index));
    std::vector<int> entries(450);
    for (int i = 0; i < 450; ++i)
        entries[static_cast<std::size_t>(i)] = -i;
    EXPECT_EQ(QV_S_OK, SetIndex(entries));
    EXPECT_EQ(QV_S_OK, m_pFile->Flush());
    EXPECT_EQ("3*804(200) 3*804(200) 3*804(50) ", Shape());
    EXPECT_EQ(QV_S_OK, SetIndex(std::vector<int>(entries.begin(), entries.begin() + 150)));
    EXPECT_EQ(QV_S_OK, m_pFile->Flush());
    EXPECT_EQ("3*804(150) 0*804(200) 0*804(50) ", Shape());
    EXPECT_EQ(QV_S_OK, SetIndex(entries));
    Reopen();
    EXPECT_EQ("3*804(200) 3*804(200) 3*804(50) ", Shape());
    EXPECT_EQ(QV_S_OK, GetIndex(&m_Index));
    EXPECT_EQ(entries, m_Index);
    EXPECT_EQ(QV_S_OK, SetIndex({}));
    EXPECT_EQ(QV_S_OK, GetIndex(&m_Index));
    EXPECT_TRUE(m_Index.empty());
    Reopen();
    EXPECT_EQ("0*804(200) 0*804(200) 0*804(50) ", Shape());
    EXPECT_EQ(QV_E_FAIL, GetIndex(&m_Index));
}

TEST_F(BookListsTest, StoredCountAboveCapacity_IsLoweredInTheRecordWithoutMarkingIt) {
    const Record index = {3, 1, Le32(250) + std::string(800, '\1')};
    const Record tags = {4, 1, Le32(0xFFFFFFFF) + std::string(100, '\0') + "rest"};
    WriteAndOpen({index, {3, 1, Le32(9) + "abc"}, {3, 1, "ab"}, tags, {4, 1, Le32(1) + "short"}});
    EXPECT_EQ(QV_S_OK, GetIndex(&m_Index));
    EXPECT_EQ(std::vector<int>(200, 0x01010101), m_Index);
    EXPECT_EQ(QV_S_OK, GetTags(&m_Tags));
    EXPECT_EQ(Strings(2), m_Tags);
    EXPECT_EQ(QV_S_OK, m_pFile->Flush());
    EXPECT_EQ(250u, FromLe32(Records()[0].data, 0));
    Qvp_Node* head = nullptr;
    ASSERT_EQ(QV_S_OK, m_pFile->AttachNodeList(QvpNodeIndexList, 1, &head));
    EXPECT_EQ(Le32(200), std::string(head->pData, head->pData + 4));

    EXPECT_EQ(QV_S_OK, SetIndex(std::vector<int>(201, 7))); // short records take none
    EXPECT_EQ(QV_S_OK, GetIndex(&m_Index));
    EXPECT_EQ(std::vector<int>(201, 7), m_Index);
    EXPECT_EQ(QV_S_OK, m_pFile->Flush());
    EXPECT_EQ((Record{3, 1, "ab"}), Records()[2]);
}

TEST_F(BookListsTest, Tags_OfUpTo49Bytes_FillSlotsAndLeaveTheRestOfThem) {
    Reopen(1);
    const std::string longest(49, 't');
    Strings tags(11, longest);
    EXPECT_EQ(QV_S_OK, SetTags(tags));
    EXPECT_EQ(QV_E_INVALIDARG, SetTags({"fine", longest + "t"}));
    char* null = nullptr;
    EXPECT_EQ(QV_E_INVALIDARG, CBookTagProxyImpl(m_pFile.get(), 1).SetTagList(&null, 1));
    EXPECT_EQ(QV_S_OK, m_pFile->Flush());
    EXPECT_EQ("4*504(10) 4*504(1) ", Shape());
    EXPECT_EQ(QV_S_OK, GetTags(&m_Tags));
    EXPECT_EQ(tags, m_Tags);
    EXPECT_EQ(QV_S_OK, SetTags({"", "b"}));
    Reopen();
    EXPECT_EQ("4*504(2) 0*504(1) ", Shape());
    EXPECT_EQ('\0' + longest.substr(1) + '\0' + "b" + '\0' + "tt", Records()[0].data.substr(4, 54));

    std::string data = Records()[0].data;
    WriteAndOpen({{4, 1, data.replace(4, 50, std::string(50, 'x'))}});
    EXPECT_EQ(QV_S_OK, GetTags(&m_Tags));
    EXPECT_EQ(Strings{"b"}, m_Tags) << "a tag without end is passed over";
}

TEST_F(BookListsTest, Paths_ArePackedInOrder) {
    Reopen(1);
    const std::vector<Strings> tables = {{std::string(499, 'p')},
                                         {std::string(300, 'p'), std::string(300, 'q')},
                                         {std::string(300, 'p'), std::string(190, 'q'), "r", ""},
                                         {"", "a"}};
    const char* shapes[] = {"2*512(1) ", "2*512(1) 2*512(1) ", "2*512(2) 2*512(2) ",
                            "2*512(2) 0*512(2) "};
    for (std::size_t i = 0; i < tables.size(); ++i) {
        EXPECT_EQ(QV_S_OK, SetPaths(tables[i]));
        EXPECT_EQ(QV_S_OK, m_pFile->Flush());
        EXPECT_EQ(shapes[i], Shape());
        ExpectPaths();
    }
    EXPECT_EQ(QV_E_INVALIDARG, SetPaths({"fine", std::string(500, 'p')}));
    QvpPathItem null = {1, 2, nullptr};
    EXPECT_EQ(QV_E_INVALIDARG, CBookPathTableProxyImpl(m_pFile.get(), 1).SetPathTable(&null, 1));
    Reopen();
    ExpectPaths();
    EXPECT_EQ(0xFFFFFFFF, Records()[0].id);
}

TEST_F(BookListsTest, DamagedPathTables_FailAndHandOutNothing) {
    const std::string item = Le32(1) + Le32(2) + "p" + '\0';
    const struct {
        const char* what;
        std::string data;
        QVRESULT result;
    } rows[] = {
        {"one whole item", Le32(1) + item, QV_S_OK},
        {"count too high", Le32(2) + item, QV_E_FAIL},
        {"count too high by far", Le32(0xFFFFFFFF) + item, QV_E_FAIL},
        {"path without end", Le32(1) + item.substr(0, 9), QV_E_FAIL},
        {"no path", Le32(1) + item.substr(0, 8), QV_E_FAIL},
        {"only a count", Le32(1), QV_E_FAIL},
        {"no items", Le32(0) + "left", QV_S_OK},
        {"eight bytes left for a second", Le32(2) + item + "12345678", QV_E_FAIL},
        {"nine bytes for a second", Le32(2) + item + item.substr(0, 8) + '\0', QV_S_OK},
    };
    for (const auto& row : rows) {
        WriteAndOpen({{2, 1, row.data}});
        EXPECT_EQ(row.result, GetPaths(&m_Paths)) << row.what;
    }
    for (const std::string& bad :
         {std::string("abc"), Le32(0), Le32(0xFFFFFFFF) + "bytes for one"}) {
        WriteAndOpen({{2, 1, Le32(1) + item}, {2, 9, bad}});
        EXPECT_EQ(QV_E_FAIL, GetPaths(&m_Paths));
    }
}

TEST_F(BookListsTest, PathsOverTinyRecords_AreClosedAtTheFirstThatDoesNotFit) {
    WriteAndOpen({{2, 5, std::string(12, 'x')}, {2, 7, std::string(16, 'x')}});
    EXPECT_EQ(QV_S_OK, SetPaths({"abc", "a", ""}));
    ExpectPaths();
    Reopen();
    EXPECT_EQ("2*12(0) 2*16(1) 2*512(2) ", Shape());
}

TEST_F(BookListsTest, NoContainerOrNullPointer_IsRefusedInThatOrder) {
    Reopen(1);
    for (CQvpFile* file : {static_cast<CQvpFile*>(nullptr), m_pFile.get()}) {
        const QVRESULT expected = file ? QV_E_INVALIDARG : QV_E_NOTREADY;
        EXPECT_EQ(expected, CBookIndexProxyImpl(file, 1).GetIndexList(nullptr, nullptr));
        EXPECT_EQ(expected, CBookIndexProxyImpl(file, 1).SetIndexList(nullptr, 1));
        EXPECT_EQ(expected, CBookTagProxyImpl(file, 1).GetTagList(nullptr, nullptr));
        EXPECT_EQ(expected, CBookTagProxyImpl(file, 1).SetTagList(nullptr, 1));
        EXPECT_EQ(expected, CBookPathTableProxyImpl(file, 1).GetPathTable(nullptr, nullptr));
        EXPECT_EQ(expected, CBookPathTableProxyImpl(file, 1).SetPathTable(nullptr, 1));
    }
    int entry = 1;
    CQvpFile closed;
    EXPECT_EQ(QV_S_OK, CBookIndexProxyImpl(&closed, 1).SetIndexList(nullptr, 0));
    EXPECT_EQ(QV_E_FAIL, CBookIndexProxyImpl(&closed, 1).SetIndexList(&entry, 1));
}

} // namespace
