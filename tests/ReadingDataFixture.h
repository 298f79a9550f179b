// Reading-data files as the tests write and read them: bytes in strings, records by a parser that
// shares nothing with the library's.
#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "IBookIndexProxy.h"
#include "IBookInfoProxy.h"
#include "IBookPathTableProxy.h"
#include "IBookTagProxy.h"
#include "readingdata/CBookAnnotationImpl.h"
#include "readingdata/CBookAnnotationListProxy.h"
#include "readingdata/CBookIndexProxyImpl.h"
#include "readingdata/CQvpFile.h"

namespace readingdata {

using namespace QvFormat;

inline std::string Le32(std::uint32_t value) {
    std::string bytes;
    for (int shift = 0; shift < 32; shift += 8)
        bytes += static_cast<char>(value >> shift & 0xFF);
    return bytes;
}

inline std::uint32_t FromLe32(const std::string& bytes, std::size_t at) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < 4; ++i)
        value |= std::uint32_t{static_cast<unsigned char>(bytes.at(at + i))} << (8 * i);
    return value;
}

using Path = std::tuple<unsigned int, unsigned int, std::string>;
using Note = std::tuple<unsigned int, unsigned int, unsigned int, std::string>;

struct Record {
    int type;
    std::uint32_t id;
    std::string data;
};

inline std::string Bytes(const Record& record) {
    return static_cast<char>(record.type) + Le32(record.id) +
           Le32(static_cast<std::uint32_t>(record.data.size())) + record.data;
}

inline bool operator==(const Record& one, const Record& other) {
    return Bytes(one) == Bytes(other);
}

inline std::string FileOf(const std::vector<Record>& records, char version = 1, char revision = 0) {
    std::string bytes = std::string("QVP") + version + revision;
    for (const Record& record : records)
        bytes += Bytes(record);
    return bytes;
}

// The whole records of a file, in order.
inline std::vector<Record> RecordsOf(const std::string& file) {
    std::vector<Record> records;
    for (std::size_t at = 5; file.size() >= at + 9; at += 9 + records.back().data.size()) {
        const std::uint32_t length = FromLe32(file, at + 5);
        if (length > file.size() - at - 9)
            break;
        records.push_back({file[at], FromLe32(file, at + 1), file.substr(at + 9, length)});
    }
    return records;
}

// A string of the book-information record.
struct StringField {
    const char* name;
    QVRESULT (IBookInfoProxy::*get)(char**);
    QVRESULT (IBookInfoProxy::*set)(char const*, unsigned int);
    std::size_t offset; // in the record data this library makes
    unsigned int capacity;
};

const StringField kStringFields[] = {
    {"book name", &IBookInfoProxy::GetBookName, &IBookInfoProxy::SetBookName, 0, 200},
    {"author", &IBookInfoProxy::GetAuthorName, &IBookInfoProxy::SetAuthorName, 204, 200},
    {"cover", &IBookInfoProxy::GetCoverPagePath, &IBookInfoProxy::SetCoverPagePath, 408, 512},
    {"publisher", &IBookInfoProxy::GetPublisherName, &IBookInfoProxy::SetPublisherName, 924, 200},
    {"ISBN", &IBookInfoProxy::GetISBN, &IBookInfoProxy::SetISBN, 1128, 100},
    {"summary", &IBookInfoProxy::GetSummary, &IBookInfoProxy::SetSummary, 1232, 1024},
    {"section", &IBookInfoProxy::GetLatestSection, &IBookInfoProxy::SetLatestSection, 2290, 512},
};

constexpr std::size_t kSourceAt = 2260, kProgressAt = 2261, kBookmarkAt = 2265,
                      kSerializedAt = 2289;

// New record data, from the capacities.
inline std::string EmptyInfo() {
    std::string data(2806, '\0');
    for (const StringField& field : kStringFields)
        data.replace(field.offset, 4, Le32(field.capacity));
    return data.replace(kBookmarkAt, 4, Le32(20));
}

// A folder of its own for each test, removed afterwards, with one reading-data file in it.
class Fixture : public testing::Test {
protected:
    Fixture() {
        static int number = 0;
        m_Folder = std::filesystem::path(testing::TempDir()) / std::to_string(number++);
        std::filesystem::create_directories(m_Folder);
        m_Path = (m_Folder / "book.umd.qvp").string();
    }
    ~Fixture() override {
        m_pFile.reset();
        std::filesystem::remove_all(m_Folder);
    }

    void Write(const std::string& bytes) {
        std::filesystem::remove(m_Path); // some file systems sync a file that is written over
        std::ofstream(m_Path, std::ios::binary) << bytes;
    }

    std::string Read() const {
        std::ifstream file(m_Path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    std::vector<Record> Records() const { return RecordsOf(Read()); }

    std::unique_ptr<CQvpFile> Open(int create = 0) const {
        auto file = std::make_unique<CQvpFile>();
        EXPECT_EQ(file->Open(m_Path.c_str(), create), QV_S_OK);
        return file;
    }

    void Reopen() {
        m_pFile.reset();
        m_pFile = Open(1);
    }

    void WriteAndOpen(const std::vector<Record>& records) {
        m_pFile.reset();
        Write(FileOf(records));
        Reopen();
    }

    // "type*length(count)" of every record in the file, after a flush.
    std::string Shape() const {
        EXPECT_EQ(m_pFile->Flush(), QV_S_OK);
        std::string shape;
        for (const Record& record : Records())
            shape += std::to_string(record.type) + "*" + std::to_string(record.data.size()) + "(" +
                     std::to_string(FromLe32(record.data, 0)) + ") ";
        return shape;
    }

    long FilesInFolder() const {
        return std::distance(std::filesystem::directory_iterator(m_Folder), {});
    }

    // --- what goes through the proxies, as values -----------------------------------------------

    static int Take(int item) { return item; }
    static std::string Take(char* text) { return std::unique_ptr<char[]>(text).get(); }
    static Path Take(const QvpPathItem& item) {
        return {item.nValue0, item.nValue1, Take(item.pszPath)};
    }
    static Note Take(IBookAnnotation& annotation) {
        unsigned int block = 99, offset = 99, length = 99;
        char* comment = nullptr;
        EXPECT_EQ(annotation.GetBlockIndex(&block), QV_S_OK);
        EXPECT_EQ(annotation.GetOffset(&offset), QV_S_OK);
        EXPECT_EQ(annotation.GetLength(&length), QV_S_OK);
        annotation.GetComment(&comment);
        return {block, offset, length, comment ? Take(comment) : ""};
    }

    static int Give(int item) { return item; }
    static char* Give(std::string& text) { return text.data(); }
    static QvpPathItem Give(Path& path) {
        return {std::get<0>(path), std::get<1>(path), std::get<2>(path).data()};
    }
    static void Give(Note note, IBookAnnotation* annotation) {
        annotation->SetBlockIndex(std::get<0>(note));
        annotation->SetOffset(std::get<1>(note));
        annotation->SetLength(std::get<2>(note));
        annotation->SetComment(std::get<3>(note).data());
    }

    static auto Setter(IBookIndexProxy&) { return &IBookIndexProxy::SetIndexList; }
    static auto Setter(IBookTagProxy&) { return &IBookTagProxy::SetTagList; }
    static auto Setter(IBookPathTableProxy&) { return &IBookPathTableProxy::SetPathTable; }

    // The result of a getter with what it handed out.
    template<typename Proxy, typename Item>
    static auto GetList(Proxy& proxy, QVRESULT (Proxy::*getter)(Item**, unsigned int*)) {
        Item* items = nullptr;
        unsigned int count = 0;
        const QVRESULT result = (proxy.*getter)(&items, &count);
        const std::unique_ptr<Item[]> owned(items);
        std::vector<decltype(Take(*items))> values;
        for (unsigned int i = 0; items && i < count; ++i)
            values.push_back(Take(items[i]));
        return std::pair(result, values);
    }
    static auto Get(IBookIndexProxy& proxy) {
        return GetList(proxy, &IBookIndexProxy::GetIndexList);
    }
    static auto Get(IBookTagProxy& proxy) { return GetList(proxy, &IBookTagProxy::GetTagList); }
    static auto Get(IBookPathTableProxy& proxy) {
        return GetList(proxy, &IBookPathTableProxy::GetPathTable);
    }
    static auto Get(IBookAnnotationProxy& proxy, QvAnnotationType type) {
        IBookAnnotation* first = nullptr;
        unsigned int count = 0;
        const QVRESULT result = proxy.GetAnnotationList(type, &first, &count);
        const std::unique_ptr<CBookAnnotationImpl[]> list(static_cast<CBookAnnotationImpl*>(first));
        std::vector<Note> notes;
        for (unsigned int i = 0; i < count; ++i)
            notes.push_back(Take(list[i]));
        return std::pair(result, notes);
    }
    static auto Get(IBookInfoProxy& proxy) {
        IBookAnnotation* bookmark = nullptr;
        const QVRESULT result = proxy.GetReadingBookmark(&bookmark);
        const std::unique_ptr<IBookAnnotation> owned(bookmark);
        return std::pair(result, bookmark ? Take(*bookmark) : Note());
    }
    static std::string Get(IBookInfoProxy& proxy, QVRESULT (IBookInfoProxy::*getter)(char**)) {
        char* text = nullptr;
        return (proxy.*getter)(&text) == QV_S_OK ? Take(text) : "failed";
    }

    template<typename Proxy, typename Value>
    static QVRESULT Set(Proxy& proxy, std::vector<Value> values) {
        std::vector<decltype(Give(values[0]))> items;
        items.reserve(values.size());
        for (Value& value : values)
            items.push_back(Give(value));
        return (proxy.*Setter(proxy))(items.data(), static_cast<unsigned int>(items.size()));
    }

    static QVRESULT Set(IBookAnnotationProxy& proxy, QvAnnotationType type,
                        const std::vector<Note>& notes) {
        const auto count = static_cast<unsigned int>(notes.size());
        const std::unique_ptr<CBookAnnotationImpl[]> list(
            CBookAnnotationListProxy::NewList(type, count));
        for (unsigned int i = 0; i < count; ++i)
            Give(notes[i], &list[i]);
        return proxy.SetAnnotationList(type, list.get(), count);
    }

    static QVRESULT Set(IBookInfoProxy& proxy, const Note& bookmark) {
        CBookAnnotationImpl annotation(QvAnnotationPosition);
        Give(bookmark, &annotation);
        return proxy.SetReadingBookmark(&annotation);
    }

    // The same through a new proxy for a file id.
    template<typename Proxy, typename... Arguments>
    static QVRESULT SetBy(CQvpFile& file, unsigned int fileId, const Arguments&... arguments) {
        Proxy proxy(&file, fileId);
        return Set(proxy, arguments...);
    }

    template<typename Proxy, typename... Type>
    static auto GetBy(CQvpFile& file, unsigned int fileId, Type... type) {
        Proxy proxy(&file, fileId);
        return Get(proxy, type...);
    }

    static QVRESULT SetIndex(CQvpFile& file, unsigned int fileId, const std::vector<int>& entries) {
        return SetBy<CBookIndexProxyImpl>(file, fileId, entries);
    }

    // Empty also where the file has no such list.
    static std::vector<int> IndexOf(CQvpFile& file, unsigned int fileId) {
        return GetBy<CBookIndexProxyImpl>(file, fileId).second;
    }

    std::filesystem::path m_Folder;
    std::string m_Path;
    std::unique_ptr<CQvpFile> m_pFile;
};

} // namespace readingdata
