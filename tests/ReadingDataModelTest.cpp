// Random operations over every proxy of one file, checked against what the file should hold.
#include <map>
#include <random>

#include "IBookInfoProxy.h"
#include "ReadingDataFixture.h"

using namespace QvFormat;
using namespace readingdata;

namespace {

using Key = std::pair<int, std::uint32_t>; // record type and file id
using Entries = std::vector<std::string>;  // as they are stored
using Contents = std::map<Key, Entries>;   // lists without entries are left out
const std::uint32_t FileIds[] = {0, 7, 0xFFFFFFFF};

std::size_t EntrySize(int type, const std::string& data, std::size_t at) {
    switch (type) {
    case 2:
        return data.find('\0', at + 8) + 1 - at;
    case 3:
        return 4;
    case 4:
        return 50;
    case 5:
        return 9;
    case 6:
        return 13;
    default:
        return data.find('\0', at + 13) + 1 - at;
    }
}

// The live entries of a file, read from its bytes alone.
Contents ContentsOf(const std::string& file) {
    Contents contents;
    for (const Record& record : RecordsOf(file)) {
        const Key key(record.type, record.type == 2 ? 0 : record.id);
        if (record.type == 0)
            continue;
        if (record.type == 1 || record.type > 7) {
            contents[key].push_back(record.data);
            continue;
        }
        std::size_t at = 4;
        for (std::uint32_t left = FromLe32(record.data, 0); left != 0; --left) {
            const std::size_t size = EntrySize(record.type, record.data, at);
            std::string entry = record.data.substr(at, size);
            contents[key].push_back(record.type == 4 ? entry.substr(0, entry.find('\0')) : entry);
            at += size;
        }
    }
    return contents;
}

class ReadingDataModelTest : public Fixture, public testing::WithParamInterface<unsigned int> {
public:
    // The proxies of one file id.
    struct Proxies {
        std::unique_ptr<IBookInfoProxy> info;
        std::unique_ptr<IBookIndexProxy> index;
        std::unique_ptr<IBookTagProxy> tags;
        std::unique_ptr<IBookPathTableProxy> paths;
        std::unique_ptr<IBookAnnotationProxy> annotations;
    };

    ReadingDataModelTest() : m_Engine(GetParam()) {}

    unsigned int Random() { return static_cast<unsigned int>(m_Engine()); }
    unsigned int Below(unsigned int limit) { return Random() % limit; }

    std::string RandomText(std::size_t most) {
        std::string text(Random() % (most + 1), ' ');
        for (char& c : text)
            c = static_cast<char>('!' + Below(200));
        return text;
    }

    void Reopen() {
        m_Proxies.clear();
        m_pFile.reset();
        m_pFile = Open(1);
        for (const std::uint32_t id : FileIds) {
            Proxies& of = m_Proxies[id];
            of.info =
                Obtain<IBookInfoProxy>([&](auto** p) { return m_pFile->GetInfoProxy(p, id); });
            of.index =
                Obtain<IBookIndexProxy>([&](auto** p) { return m_pFile->GetIndexProxy(p, id); });
            of.tags = Obtain<IBookTagProxy>([&](auto** p) { return m_pFile->GetTagProxy(p, id); });
            of.paths = Obtain<IBookPathTableProxy>(
                [&](auto** p) { return m_pFile->GetPathTableProxy(p); });
            of.annotations = std::make_unique<CBookAnnotationListProxy>(m_pFile.get(), id);
        }
    }

    void Keep(const Key& key, Entries entries) {
        if (entries.empty())
            m_Model.erase(key);
        else
            m_Model[key] = std::move(entries);
    }

    void SetIndex(std::uint32_t id) {
        std::vector<int> list(Below(700));
        Entries entries;
        for (int& entry : list) {
            entry = static_cast<int>(Random());
            entries.push_back(Le32(static_cast<std::uint32_t>(entry)));
        }
        EXPECT_EQ(QV_S_OK, Set(*m_Proxies[id].index, list));
        Keep({3, id}, entries);
    }

    void SetTags(std::uint32_t id) {
        Entries list(Below(35));
        for (std::string& entry : list)
            entry = RandomText(49);
        EXPECT_EQ(QV_S_OK, Set(*m_Proxies[id].tags, list));
        Keep({4, id}, list);
    }

    void SetPaths(std::uint32_t id) {
        std::vector<Path> list(Below(8));
        Entries entries;
        for (Path& path : list) {
            path = {Random(), Below(9), RandomText(499)};
            entries.push_back(Le32(path.value0) + Le32(path.value1) + path.path + '\0');
        }
        EXPECT_EQ(QV_S_OK, Set(*m_Proxies[id].paths, list));
        Keep({2, 0}, entries);
    }

    void SetAnnotations(std::uint32_t id) {
        const auto type = static_cast<QvAnnotationType>(Below(3));
        std::vector<Note> list(Below(90));
        Entries entries;
        for (Note& note : list) {
            note = {Random(), Below(384), Random(), RandomText(Below(20) == 0 ? 2000 : 30)};
            entries.push_back('\0' + Le32(note.block) + Le32(note.offset) +
                              (type != QvAnnotationPosition ? Le32(note.length) : "") +
                              (type == QvAnnotationComment ? note.comment + '\0' : ""));
        }
        EXPECT_EQ(QV_S_OK, Set(*m_Proxies[id].annotations, type, list));
        Keep({5 + type, id}, entries);
    }

    void SetInfo(std::uint32_t id) {
        Entries& record = m_Model[{1, id}];
        if (record.empty()) {
            record.emplace_back(2806, '\0');
            const std::pair<std::size_t, unsigned int> slots[] = {
                {0, 200},    {204, 200},   {408, 512}, {924, 200},
                {1128, 100}, {1232, 1024}, {2265, 20}, {2290, 512}};
            for (const auto& [at, capacity] : slots)
                record[0].replace(at, 4, Le32(capacity));
        }
        const std::string summary = RandomText(1023);
        const unsigned int block = Random(), offset = Random();
        CBookAnnotationImpl bookmark(QvAnnotationPosition);
        bookmark.SetBlockIndex(block);
        bookmark.SetOffset(offset);
        EXPECT_EQ(QV_S_OK, m_Proxies[id].info->SetReadingBookmark(&bookmark));
        EXPECT_EQ(QV_S_OK, m_Proxies[id].info->SetSummary(
                               summary.c_str(), static_cast<unsigned int>(summary.size())));
        record[0].replace(2270, 8, Le32(block) + Le32(offset));
        record[0].replace(1236, summary.size() + 1, summary + '\0');
    }

    // Reading back what may not have been flushed.
    void CheckIndex(std::uint32_t id) {
        std::vector<int> list;
        Get(*m_Proxies[id].index, &list);
        Entries entries;
        for (const int entry : list)
            entries.push_back(Le32(static_cast<std::uint32_t>(entry)));
        const auto model = m_Model.find({3, id});
        ASSERT_EQ(model == m_Model.end() ? Entries() : model->second, entries);
    }

    void CheckFile() {
        const std::string file = Read();
        std::size_t whole = 5;
        for (const Record& record : RecordsOf(file))
            whole += Bytes(record).size();
        ASSERT_EQ(whole, file.size());
        ASSERT_TRUE(m_Model == ContentsOf(file)) << "after operation " << m_nOperation;
    }

    std::mt19937 m_Engine;
    Contents m_Model;
    std::unique_ptr<CQvpFile> m_pFile;
    std::map<std::uint32_t, Proxies> m_Proxies;
    int m_nOperation = 0;
};

TEST_P(ReadingDataModelTest, ThousandsOfOperations_EveryFlush_WritesWhatTheModelHolds) {
    Write(FileOf({{9, 3, "another library's"}}));
    m_Model[{9, 3}] = {"another library's"};
    Reopen();
    using Operation = void (ReadingDataModelTest::*)(std::uint32_t);
    const Operation operations[] = {
        &ReadingDataModelTest::SetIndex, &ReadingDataModelTest::SetTags,
        &ReadingDataModelTest::SetPaths, &ReadingDataModelTest::SetAnnotations,
        &ReadingDataModelTest::SetInfo,  &ReadingDataModelTest::CheckIndex};
    for (; m_nOperation < 1500 && !HasFatalFailure(); ++m_nOperation) {
        (this->*operations[Below(6)])(FileIds[Below(3)]);
        if (Below(60) == 0)
            std::filesystem::remove(m_Path);
        if (Below(5) == 0) {
            ASSERT_EQ(QV_S_OK, m_pFile->Flush());
            CheckFile();
        }
        if (Below(25) == 0) {
            Reopen();
            CheckFile();
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, ReadingDataModelTest, testing::Values(1u, 2u, 3u, 4u));

} // namespace
