// Random operations over every proxy of one file, checked against what the file should hold. The
// files of a seed have the same bytes on every machine.
#include <map>
#include <random>

#include <zlib.h>

#include "ReadingDataFixture.h"

using namespace readingdata;

namespace {

using Key = std::pair<int, std::uint32_t>; // record type and file id
using Entries = std::vector<std::string>;  // as they are stored
using Contents = std::map<Key, Entries>;   // lists without entries are left out
const std::uint32_t kFileIds[] = {0, 7, 0xFFFFFFFF};

std::string Stored(int entry) {
    return Le32(static_cast<std::uint32_t>(entry));
}

std::string Stored(const std::string& tag) {
    return tag;
}

std::string Stored(const Path& path) {
    return Le32(std::get<0>(path)) + Le32(std::get<1>(path)) + std::get<2>(path) + '\0';
}

std::string Stored(const Note& note, QvAnnotationType type) {
    const auto& [block, offset, length, comment] = note;
    return '\0' + Le32(block) + Le32(offset) + (type != QvAnnotationPosition ? Le32(length) : "") +
           (type == QvAnnotationComment ? comment + '\0' : "");
}

// The live entries of a file, read from its bytes alone.
Contents ContentsOf(const std::string& file) {
    constexpr std::size_t LeastSizes[] = {0, 0, 8, 4, 50, 9, 13, 13}; // of an entry, by type
    Contents contents;
    for (const auto& [type, id, data] : RecordsOf(file)) {
        if (type == 0)
            continue;
        Entries& entries = contents[{type, id}];
        if (type == 1 || type > 7) {
            entries.push_back(data);
            continue;
        }
        std::size_t at = 4;
        for (std::uint32_t left = FromLe32(data, 0); left != 0; --left) {
            const std::size_t end = at + LeastSizes[type];
            const std::size_t next = type == 2 || type == 7 ? data.find('\0', end) + 1 : end;
            entries.push_back(data.substr(at, (type == 4 ? data.find('\0', at) : next) - at));
            at = next;
        }
    }
    return contents;
}

struct Seed {
    unsigned int seed;
    unsigned long checksum; // of all files that are checked
};

class ReadingDataModelTest : public Fixture, public testing::WithParamInterface<Seed> {
public:
    // The proxies of one file id.
    struct Proxies {
        std::unique_ptr<IBookInfoProxy> info;
        std::unique_ptr<IBookIndexProxy> index;
        std::unique_ptr<IBookTagProxy> tags;
        std::unique_ptr<IBookPathTableProxy> paths;
        std::unique_ptr<IBookAnnotationProxy> annotations;
    };

    unsigned int Random() { return static_cast<unsigned int>(m_Engine()); }
    unsigned int Below(unsigned int limit) { return Random() % limit; }

    std::string RandomText(unsigned int most) {
        std::string text(Below(most + 1), ' ');
        for (char& c : text)
            c = static_cast<char>('!' + Below(200));
        return text;
    }

    template<typename Interface, typename... Id>
    std::unique_ptr<Interface> Obtain(QVRESULT (IBookInfoEntity::*get)(Interface**, Id...),
                                      Id... id) {
        Interface* proxy = nullptr;
        EXPECT_EQ((m_pFile.get()->*get)(&proxy, id...), QV_S_OK);
        return std::unique_ptr<Interface>(proxy);
    }

    void ObtainProxies() {
        m_Proxies.clear();
        Reopen();
        for (const std::uint32_t id : kFileIds)
            m_Proxies[id] = {Obtain(&IBookInfoEntity::GetInfoProxy, id),
                             Obtain(&IBookInfoEntity::GetIndexProxy, id),
                             Obtain(&IBookInfoEntity::GetTagProxy, id),
                             Obtain(&IBookInfoEntity::GetPathTableProxy),
                             std::make_unique<CBookAnnotationListProxy>(m_pFile.get(), id)};
    }

    // Reads a list back, which may not have been flushed, and sets another.
    template<typename Proxy, typename List, typename... Type>
    void Replace(const Key& key, Proxy& proxy, const List& list, Type... type) {
        const auto held = Get(proxy, type...).second;
        Entries heldEntries, entries;
        for (const auto& value : held)
            heldEntries.push_back(Stored(value, type...));
        for (const auto& value : list)
            entries.push_back(Stored(value, type...));
        EXPECT_EQ(m_Model[key], heldEntries);
        EXPECT_EQ(Set(proxy, type..., list), QV_S_OK);
        m_Model[key] = entries;
        if (entries.empty())
            m_Model.erase(key);
    }

    void SetIndex(std::uint32_t id) {
        std::vector<int> list(Below(700));
        for (int& entry : list)
            entry = static_cast<int>(Random());
        Replace({3, id}, *m_Proxies[id].index, list);
    }

    void SetTags(std::uint32_t id) {
        Entries list(Below(35));
        for (std::string& entry : list)
            entry = RandomText(49);
        Replace({4, id}, *m_Proxies[id].tags, list);
    }

    void SetPaths(std::uint32_t id) {
        std::vector<Path> list(Below(8));
        for (Path& path : list)
            path = {Random(), Below(9), RandomText(499)};
        Replace({2, 0xFFFFFFFF}, *m_Proxies[id].paths, list);
    }

    void SetAnnotations(std::uint32_t id) {
        const auto type = static_cast<QvAnnotationType>(Below(3));
        std::vector<Note> list(Below(90));
        for (Note& note : list)
            note = {Random(), Below(384), Random(), RandomText(Below(20) == 0 ? 2000 : 30)};
        Replace({5 + type, id}, *m_Proxies[id].annotations, list, type);
    }

    void SetInfo(std::uint32_t id) {
        Entries& record = m_Model[{1, id}];
        if (record.empty())
            record.push_back(EmptyInfo());
        const StringField& field = kStringFields[Below(std::size(kStringFields))];
        const std::string text = RandomText(field.capacity - 1);
        const Note bookmark = {Random(), Random(), 0, ""};
        IBookInfoProxy& info = *m_Proxies[id].info;
        EXPECT_EQ(Set(info, bookmark), QV_S_OK);
        EXPECT_EQ((info.*field.set)(text.c_str(), static_cast<unsigned int>(text.size())), QV_S_OK);
        record[0].replace(kBookmarkAt + 4, 9, Stored(bookmark, QvAnnotationPosition));
        record[0].replace(field.offset + 4, text.size() + 1, text + '\0');
    }

    void CheckFile() {
        const std::string file = Read();
        ASSERT_TRUE(file == FileOf(RecordsOf(file)) && m_Model == ContentsOf(file))
            << "after operation " << m_nOperation;
        m_nChecksum = crc32(m_nChecksum, reinterpret_cast<const unsigned char*>(file.data()),
                            static_cast<unsigned int>(file.size()));
    }

    std::mt19937 m_Engine{GetParam().seed};
    unsigned long m_nChecksum = 0;
    Contents m_Model;
    std::map<std::uint32_t, Proxies> m_Proxies;
    int m_nOperation = 0;
};

TEST_P(ReadingDataModelTest, ThousandsOfOperationsEveryFlushWritesWhatTheModelHolds) {
    Write(FileOf({{9, 3, "another library's"}}));
    m_Model[{9, 3}] = {"another library's"};
    ObtainProxies();
    using Operation = void (ReadingDataModelTest::*)(std::uint32_t);
    const Operation operations[] = {&ReadingDataModelTest::SetIndex, &ReadingDataModelTest::SetTags,
                                    &ReadingDataModelTest::SetPaths,
                                    &ReadingDataModelTest::SetAnnotations,
                                    &ReadingDataModelTest::SetInfo};
    for (; m_nOperation < 1500 && !HasFailure(); ++m_nOperation) {
        (this->*operations[Below(std::size(operations))])(kFileIds[Below(3)]);
        if (Below(60) == 0)
            std::filesystem::remove(m_Path);
        if (Below(5) == 0) {
            ASSERT_EQ(m_pFile->Flush(), QV_S_OK);
            CheckFile();
        }
        if (Below(25) == 0) {
            ObtainProxies();
            CheckFile();
        }
    }
    EXPECT_EQ(GetParam().checksum, m_nChecksum) << std::hex << m_nChecksum;
}

INSTANTIATE_TEST_SUITE_P(Seeds, ReadingDataModelTest,
                         testing::Values(Seed{1, 0x0C7E24D9}, Seed{2, 0x05072ACA},
                                         Seed{3, 0x47595B6A}, Seed{4, 0xBB92870A}));

} // namespace
