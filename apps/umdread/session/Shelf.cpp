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

void Take(std::vector<ShelvedBook>& books, const std::string& path) {
    books.erase(std::remove_if(books.begin(), books.end(),
                               [&](const ShelvedBook& book) { return book.path == path; }),
                books.end());
}

} // namespace

std::vector<ShelvedBook> Shelf::Read() const {
    const KeyFile file(m_sFolder, kFileName);
    std::vector<ShelvedBook> books;
    for (const std::string& group : file.Groups()) {
        ShelvedBook book;
        book.path = file.Get(group, "path", book.path);
        book.title = file.Get(group, "title", book.title);
        book.author = file.Get(group, "author", book.author);
        book.fraction = std::clamp(file.Get(group, "read", book.fraction), 0.0, 1.0);
        if (!book.path.empty() && books.size() < mostBooks)
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
    Take(books, book.path);
    books.insert(books.begin(), book);
    books.resize(std::min(books.size(), mostBooks));
    Write(books);
}

void Shelf::Remove(const std::string& path) const {
    std::vector<ShelvedBook> books = Read();
    Take(books, path);
    Write(books);
}

} // namespace umdread
