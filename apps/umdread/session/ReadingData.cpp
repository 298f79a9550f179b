#include "ReadingData.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <thread>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include "base/CFileStream.h"
#include "readingdata/CBookAnnotationImpl.h"
#include "readingdata/CBookAnnotationListProxy.h"
#include "readingdata/CQvpFile.h"

namespace umdread {

using namespace QvFormat;
using umdhost::Place;

namespace {

// Keeps others of us from changing the reading data meanwhile. The lock is on the book, which stays
// where it is when the file beside it is replaced. One that cannot be had is done without: changes
// take milliseconds, so who holds it longer is no reader.
class Lock {
public:
    explicit Lock(const std::string& book) : m_nFile(open(book.c_str(), O_RDONLY | O_CLOEXEC)) {
        constexpr int tries = 100;
        for (int i = 0; i < tries && flock(m_nFile, LOCK_EX | LOCK_NB) != 0; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    ~Lock() {
        if (m_nFile >= 0)
            close(m_nFile);
    }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

private:
    int m_nFile;
};

Mark ToMark(IBookAnnotation& annotation) {
    Mark mark;
    annotation.GetBlockIndex(&mark.place.block);
    annotation.GetOffset(&mark.place.offset);
    annotation.GetLength(&mark.length);
    char* delivered = nullptr;
    annotation.GetComment(&delivered);
    const std::unique_ptr<char[]> comment(delivered);
    if (comment != nullptr)
        mark.note = comment.get();
    return mark;
}

void Fill(CBookAnnotationImpl& annotation, QvAnnotationType type, const Mark& mark) {
    annotation.SetBlockIndex(mark.place.block);
    annotation.SetOffset(mark.place.offset);
    annotation.SetLength(mark.length);
    std::string comment = mark.note;
    if (type == QvAnnotationComment)
        annotation.SetComment(comment.data());
}

bool ComesBefore(const Mark& mark, const Place& place) {
    return mark.place < place;
}

Marks::iterator Find(Marks& marks, const Place& place) {
    return std::lower_bound(marks.begin(), marks.end(), place, ComesBefore);
}

void Insert(Marks& marks, const Place& place, const std::string& note) {
    const auto at = Find(marks, place);
    if (at != marks.end() && at->place == place)
        at->note = note;
    else
        marks.insert(at, {place, 0, note});
}

void Erase(Marks& marks, const Place& place) {
    const auto at = Find(marks, place);
    if (at != marks.end() && at->place == place)
        marks.erase(at);
}

bool AreSame(const Marks& a, const Marks& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const Mark& x, const Mark& y) {
        return x.place == y.place && x.note == y.note;
    });
}

// Fails when the list is there but cannot be read: it must then not be replaced.
bool ReadMarks(CQvpFile& file, QvAnnotationType type, Marks& marks) {
    CBookAnnotationListProxy proxy(&file, kCommonFileId);
    IBookAnnotation* delivered = nullptr;
    unsigned int count = 0;
    const QVRESULT result = proxy.GetAnnotationList(type, &delivered, &count);
    const std::unique_ptr<CBookAnnotationImpl[]> list(static_cast<CBookAnnotationImpl*>(delivered));
    for (unsigned int i = 0; list != nullptr && i < count; ++i)
        marks.push_back(ToMark(list[i]));
    std::stable_sort(marks.begin(), marks.end(),
                     [](const Mark& a, const Mark& b) { return a.place < b.place; });
    return result == QV_S_OK || result == QV_E_FAIL; // the latter: there is no list yet
}

bool WriteMarks(CQvpFile& file, QvAnnotationType type, const Marks& marks) {
    const auto count = static_cast<unsigned int>(marks.size());
    const std::unique_ptr<CBookAnnotationImpl[]> list(
        CBookAnnotationListProxy::NewList(type, std::max(count, 1U)));
    if (list == nullptr)
        return false;
    for (unsigned int i = 0; i < count; ++i)
        Fill(list[i], type, marks[i]);
    CBookAnnotationListProxy proxy(&file, kCommonFileId);
    return proxy.SetAnnotationList(type, list.get(), count) == QV_S_OK && file.Flush() == QV_S_OK;
}

// What the file on the disk holds; never writes.
Marks MarksOnDisk(const std::string& path, QvAnnotationType type) {
    Marks marks;
    CFileStream stream(reinterpret_cast<const unsigned char*>(path.c_str()), FileOpenRead);
    CQvpFile file;
    if (file.Open(&stream) == QV_S_OK)
        ReadMarks(file, type, marks);
    return marks;
}

} // namespace

ReadingData::ReadingData(const std::string& book) : m_sBook(book) {
    Refresh();
}

std::optional<Place> ReadingData::ReadPlace() const {
    return umdhost::ReadPlace(m_sBook);
}

void ReadingData::Refresh() {
    const std::string path = umdhost::ReadingDataPath(m_sBook);
    m_bookmarks = MarksOnDisk(path, QvAnnotationPosition);
    m_notes = MarksOnDisk(path, QvAnnotationComment);
}

bool ReadingData::SavePlace(const Place& place) {
    const Lock lock(m_sBook);
    return umdhost::WritePlace(m_sBook, place);
}

bool ReadingData::IsWritable() {
    return SavePlace(ReadPlace().value_or(Place())) &&
           access(umdhost::ReadingDataPath(m_sBook).c_str(), W_OK) == 0;
}

bool ReadingData::AddBookmark(const Place& place) {
    return ChangeMarks(QvAnnotationPosition, m_bookmarks,
                       [&](Marks& marks) { Insert(marks, place, {}); });
}

bool ReadingData::RemoveBookmark(const Place& place) {
    return ChangeMarks(QvAnnotationPosition, m_bookmarks,
                       [&](Marks& marks) { Erase(marks, place); });
}

bool ReadingData::SetNote(const Place& place, const std::string& text) {
    return ChangeMarks(QvAnnotationComment, m_notes,
                       [&](Marks& marks) { Insert(marks, place, text); });
}

bool ReadingData::RemoveNote(const Place& place) {
    return ChangeMarks(QvAnnotationComment, m_notes, [&](Marks& marks) { Erase(marks, place); });
}

// Flushing says little of what the disk took, so the file is read back.
bool ReadingData::ChangeMarks(QvAnnotationType type, Marks& marks, const Change& change) {
    const Lock lock(m_sBook);
    const std::string path = umdhost::ReadingDataPath(m_sBook);
    Marks wanted;
    bool written = false;
    {
        CQvpFile file;
        if (file.Open(path.c_str(), 1) == QV_S_OK && ReadMarks(file, type, wanted)) {
            change(wanted);
            written = WriteMarks(file, type, wanted);
        }
    }
    marks = MarksOnDisk(path, type);
    return written && AreSame(marks, wanted);
}

} // namespace umdread
