#pragma once

#include <string>

namespace umdview {

// A name for a book in a temporary folder of its own, gone with the object. The library keeps
// reading data beside the name that a book is opened by; who opens the link leaves the reader's
// place alone, however the program ends.
class BookLink {
public:
    // Throws Failure when the link cannot be made.
    explicit BookLink(const std::string& book);
    ~BookLink();
    BookLink(const BookLink&) = delete;
    BookLink& operator=(const BookLink&) = delete;

    std::string Path() const { return m_sFolder + "/book.umd"; }

private:
    std::string m_sFolder;
};

} // namespace umdview
