#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "IBookAnnotation.h"
#include "common/SavedPlace.h"

namespace QvFormat {
class CBookAnnotationListProxy;
}

namespace umdread {

// What a reader marked: a place, and for a note what was written to it.
struct Mark {
    umdhost::Place place;
    unsigned int length = 0; // of a range that another host marked; kept as it is
    std::string note;        // UTF-8; as other hosts wrote it, any bytes
};

using Marks = std::vector<Mark>; // in the order of the text, one at a place

// A book's reading-data file: the place, the bookmarks (its position annotations) and the notes
// (its comment annotations).
//
// A container of the library holds the file as it was when it was opened, and two of them overwrite
// each other's changes. A renderer that keeps its place itself would have one open as long as the
// book is. So here every change opens the file, changes what is in it now, writes it and lets go,
// under a lock that windows and processes share: none loses what another has written.
class ReadingData {
public:
    explicit ReadingData(const std::string& book);

    // The saved place; none in a new book.
    std::optional<umdhost::Place> ReadPlace() const;

    // Reads the marks anew.
    void Refresh();
    const Marks& Bookmarks() const { return m_bookmarks; }
    const Marks& Notes() const { return m_notes; }

    // Write; false when the file does not hold the change afterwards. Reading then goes on.
    bool SavePlace(const umdhost::Place& place);
    bool AddBookmark(const umdhost::Place& place);
    bool RemoveBookmark(const umdhost::Place& place);
    bool SetNote(const umdhost::Place& place, const std::string& text);
    bool RemoveNote(const umdhost::Place& place);

    // False when the file cannot be made or written, as beside a book that only may be read.
    bool IsWritable();

private:
    using Change = std::function<void(Marks&)>;
    bool ChangeMarks(QvFormat::QvAnnotationType type, Marks& marks, const Change& change);

    std::string m_sBook;
    Marks m_bookmarks;
    Marks m_notes;
};

} // namespace umdread
