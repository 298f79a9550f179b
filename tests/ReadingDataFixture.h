// Reading-data files as the tests write and read them: bytes in strings, records by a parser that
// shares nothing with the library's.
#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "IBookIndexProxy.h"
#include "IBookPathTableProxy.h"
#include "IBookTagProxy.h"
#include "readingdata/CBookAnnotationImpl.h"
#include "readingdata/CBookAnnotationListProxy.h"
#include "readingdata/CBookIndexProxyImpl.h"
#include "readingdata/CQvpFile.h"

namespace readingdata {

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

struct Record {
    int type;
    std::uint32_t id;
    std::string data;

    bool operator==(const Record& other) const {
        return type == other.type && id == other.id && data == other.data;
    }
};

inline std::string Bytes(const Record& record) {
    return static_cast<char>(record.type) + Le32(record.id) +
           Le32(static_cast<std::uint32_t>(record.data.size())) + record.data;
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
    for (std::size_t at = 5; file.size() >= at + 9;) {
        const std::uint32_t length = FromLe32(file, at + 5);
        if (length > file.size() - at - 9)
            break;
        records.push_back({file[at], FromLe32(file, at + 1), file.substr(at + 9, length)});
        at += 9 + length;
    }
    return records;
}

// A folder of its own for each test, removed afterwards, with one reading-data file in it.
class Fixture : public testing::Test {
protected:
    Fixture() {
        static int number = 0;
        m_Folder = std::filesystem::path(testing::TempDir()) /
                   ("qvp-" + std::to_string(getpid()) + "-" + std::to_string(number++));
        std::filesystem::create_directories(m_Folder);
        m_Path = (m_Folder / "book.umd.qvp").string();
    }
    ~Fixture() override { std::filesystem::remove_all(m_Folder); }

    void Write(const std::string& bytes) {
        std::filesystem::remove(m_Path); // some file systems sync a file that is written over
        std::ofstream(m_Path, std::ios::binary) << bytes;
    }

    std::string Read() const {
        std::ifstream file(m_Path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    std::vector<Record> Records() const { return RecordsOf(Read()); }

    std::unique_ptr<QvFormat::CQvpFile> Open(int create = 0) const {
        auto file = std::make_unique<QvFormat::CQvpFile>();
        EXPECT_EQ(QvFormat::QV_S_OK, file->Open(m_Path.c_str(), create));
        return file;
    }

    std::size_t FilesInFolder() const {
        return static_cast<std::size_t>(
            std::distance(std::filesystem::directory_iterator(m_Folder), {}));
    }

    std::filesystem::path m_Folder;
    std::string m_Path;
};

// What a getter of an object hands out, owned.
template<typename Interface, typename Get>
std::unique_ptr<Interface> Obtain(Get get) {
    Interface* object = nullptr;
    EXPECT_EQ(QvFormat::QV_S_OK, get(&object));
    return std::unique_ptr<Interface>(object);
}

// --- lists as values, through a proxy or through a new one for a file id
// ---------------------------

struct Path {
    unsigned int value0, value1;
    std::string path;

    bool operator==(const Path& other) const {
        return value0 == other.value0 && value1 == other.value1 && path == other.path;
    }
};

struct Note {
    unsigned int block, offset, length;
    std::string comment;

    bool operator==(const Note& other) const {
        return block == other.block && offset == other.offset && length == other.length &&
               comment == other.comment;
    }
};

inline QvFormat::QVRESULT Set(QvFormat::IBookIndexProxy& proxy, std::vector<int> entries) {
    return proxy.SetIndexList(entries.data(), static_cast<unsigned int>(entries.size()));
}

inline QvFormat::QVRESULT Get(QvFormat::IBookIndexProxy& proxy, std::vector<int>* entries) {
    int* list = nullptr;
    unsigned int count = 0;
    const QvFormat::QVRESULT result = proxy.GetIndexList(&list, &count);
    entries->assign(list, list ? list + count : list); // without memory there is only the count
    delete[] list;
    return result;
}

inline QvFormat::QVRESULT Set(QvFormat::IBookTagProxy& proxy, std::vector<std::string> tags) {
    std::vector<char*> list(tags.size());
    for (std::size_t i = 0; i < tags.size(); ++i)
        list[i] = &tags[i][0];
    return proxy.SetTagList(list.data(), static_cast<unsigned int>(list.size()));
}

inline QvFormat::QVRESULT Get(QvFormat::IBookTagProxy& proxy, std::vector<std::string>* tags) {
    char** list = nullptr;
    unsigned int count = 0;
    const QvFormat::QVRESULT result = proxy.GetTagList(&list, &count);
    tags->assign(list, list + count);
    for (unsigned int i = 0; i < count; ++i)
        delete[] list[i];
    delete[] list;
    return result;
}

inline QvFormat::QVRESULT Set(QvFormat::IBookPathTableProxy& proxy, std::vector<Path> paths) {
    std::vector<QvFormat::QvpPathItem> list(paths.size());
    for (std::size_t i = 0; i < paths.size(); ++i)
        list[i] = {paths[i].value0, paths[i].value1, &paths[i].path[0]};
    return proxy.SetPathTable(list.data(), static_cast<unsigned int>(list.size()));
}

inline QvFormat::QVRESULT Get(QvFormat::IBookPathTableProxy& proxy, std::vector<Path>* paths) {
    QvFormat::QvpPathItem* list = nullptr;
    unsigned int count = 0;
    const QvFormat::QVRESULT result = proxy.GetPathTable(&list, &count);
    paths->clear();
    for (unsigned int i = 0; i < count; ++i) {
        paths->push_back({list[i].nValue0, list[i].nValue1, list[i].pszPath});
        delete[] list[i].pszPath;
    }
    delete[] list;
    return result;
}

inline QvFormat::QVRESULT Set(QvFormat::IBookAnnotationProxy& proxy,
                              QvFormat::QvAnnotationType type, std::vector<Note> notes) {
    const auto count = static_cast<unsigned int>(notes.size());
    const std::unique_ptr<QvFormat::CBookAnnotationImpl[]> list(
        QvFormat::CBookAnnotationListProxy::NewList(type, count));
    for (unsigned int i = 0; i < count; ++i) {
        list[i].SetBlockIndex(notes[i].block);
        list[i].SetOffset(notes[i].offset);
        list[i].SetLength(notes[i].length);
        list[i].SetComment(&notes[i].comment[0]);
    }
    return proxy.SetAnnotationList(type, list.get(), count);
}

inline QvFormat::QVRESULT Get(QvFormat::IBookAnnotationProxy& proxy,
                              QvFormat::QvAnnotationType type, std::vector<Note>* notes) {
    QvFormat::IBookAnnotation* first = nullptr;
    unsigned int count = 0;
    const QvFormat::QVRESULT result = proxy.GetAnnotationList(type, &first, &count);
    const std::unique_ptr<QvFormat::CBookAnnotationImpl[]> list(
        static_cast<QvFormat::CBookAnnotationImpl*>(first));
    notes->assign(count, {});
    for (unsigned int i = 0; i < count; ++i) {
        list[i].GetBlockIndex(&(*notes)[i].block);
        list[i].GetOffset(&(*notes)[i].offset);
        list[i].GetLength(&(*notes)[i].length);
        char* comment = nullptr;
        if (list[i].GetComment(&comment) == QvFormat::QV_S_OK)
            (*notes)[i].comment = comment;
        delete[] comment;
    }
    return result;
}

inline QvFormat::QVRESULT SetIndex(QvFormat::CQvpFile& file, unsigned int fileId,
                                   const std::vector<int>& entries) {
    QvFormat::CBookIndexProxyImpl proxy(&file, fileId);
    return Set(proxy, entries);
}

// Empty also where the file has no such list.
inline std::vector<int> IndexOf(QvFormat::CQvpFile& file, unsigned int fileId) {
    QvFormat::CBookIndexProxyImpl proxy(&file, fileId);
    std::vector<int> entries;
    Get(proxy, &entries);
    return entries;
}

} // namespace readingdata
