#include "Shelf.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>

#include "session/KeyFile.h"

namespace umdread {

namespace {

constexpr char kFileName[] = "shelf.ini";

// Groups sort as they were written.
std::string Group(std::size_t index) {
    return "Book " + std::to_string(index + 1);
}

} // namespace

std::vector<ShelvedBook> Shelf::Read() const {
    const KeyFile file(m_sFolder, kFileName);
    std::vector<ShelvedBook> books;
    for (const std::string& group : file.Groups()) {
        ShelvedBook book;
        file.Get(group, "path", book.path);
        file.Get(group, "title", book.title);
        file.Get(group, "author", book.author);
        file.Get(group, "read", book.fraction);
        book.fraction = std::clamp(book.fraction, 0.0, 1.0);
        if (!book.path.empty() && books.size() < kMostBooks)
            books.push_back(book);
    }
    return books;
}

void Shelf::Write(const std::vector<ShelvedBook>& books) const {
    KeyFile file(m_sFolder, kFileName);
    file.Clear();
    for (std::size_t i = 0; i < books.size(); ++i) {
        file.Set(Group(i), "path", books[i].path);
        file.Set(Group(i), "title", books[i].title);
        file.Set(Group(i), "author", books[i].author);
        file.Set(Group(i), "read", books[i].fraction);
    }
    file.Save();
}

std::vector<ShelvedBook> Shelf::Books() const {
    std::vector<ShelvedBook> books;
    for (ShelvedBook& book : Read()) {
        std::error_code error;
        if (std::filesystem::is_regular_file(book.path, error))
            books.push_back(std::move(book));
    }
    return books;
}

void Shelf::Put(const ShelvedBook& book) const {
    std::vector<ShelvedBook> books = Read();
    books.erase(std::remove_if(books.begin(), books.end(),
                               [&](const ShelvedBook& other) { return other.path == book.path; }),
                books.end());
    books.insert(books.begin(), book);
    books.resize(std::min(books.size(), kMostBooks));
    Write(books);
}

} // namespace umdread
