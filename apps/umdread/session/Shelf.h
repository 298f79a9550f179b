#pragma once

#include <string>
#include <vector>

namespace umdread {

struct ShelvedBook {
    std::string path; // absolute
    std::string title;
    std::string author;
    double fraction = 0; // read so far, 0 to 1
};

// The books read last, the latest first, kept in the user's configuration folder. Several windows
// share the file, so it is read before each change.
class Shelf {
public:
    static constexpr std::size_t kMostBooks = 30;

    explicit Shelf(const std::string& folder) : m_sFolder(folder) {}

    // Without those whose file is gone.
    std::vector<ShelvedBook> Books() const;

    // Puts a book first. What cannot be written is forgotten.
    void Put(const ShelvedBook& book) const;

private:
    std::vector<ShelvedBook> Read() const;
    void Write(const std::vector<ShelvedBook>& books) const;

    std::string m_sFolder;
};

} // namespace umdread
