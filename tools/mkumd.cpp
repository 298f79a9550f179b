// mkumd turns a UTF-8 text into a UMD book.
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>

#include <CLI/CLI.hpp>

#include "tools/UmdBookWriter.h"

namespace {

constexpr int kFailure = 1;
constexpr int kBadUsage = 2;

constexpr const char* kDescription =
    "Turns a UTF-8 text into a UMD book.\n\n"
    "A line \"# Title\" begins a chapter, a blank line ends a paragraph. A text may begin with\n"
    "fields of the book, one a line, up to a blank line:\n\n"
    "  title: The Art of War\n"
    "  author: Sun Tzu\n\n"
    "and so on for year, month, day, genre, publisher and vendor. An option wins over a field.";

struct Arguments {
    std::string textPath;
    std::string bookPath;
    std::string coverPath;
    std::optional<std::string> title, author, year, month, day, genre, publisher, vendor;
    std::size_t repeatTo = 0;
    umdbook::Options options;
};

void AddFieldOptions(CLI::App& app, Arguments& arguments) {
    app.add_option("--title", arguments.title, "Title");
    app.add_option("--author", arguments.author, "Author");
    app.add_option("--year", arguments.year, "Year, as text");
    app.add_option("--month", arguments.month, "Month, as text");
    app.add_option("--day", arguments.day, "Day, as text");
    app.add_option("--genre", arguments.genre, "Genre");
    app.add_option("--publisher", arguments.publisher, "Publisher");
    app.add_option("--vendor", arguments.vendor, "Vendor");
    app.add_option("--cover", arguments.coverPath, "JPEG file that the book carries as its cover");
}

void AddFormOptions(CLI::App& app, Arguments& arguments) {
    constexpr std::size_t maxBytes = std::numeric_limits<std::int32_t>::max();
    umdbook::Options& options = arguments.options;
    app.add_option("--chunk-bytes", options.chunkBytes, "UTF-16 bytes in a chunk of text")
        ->check(CLI::Range(std::size_t{2}, maxBytes))
        ->capture_default_str();
    app.add_option("--repeat-to", arguments.repeatTo,
                   "Repeat the text under running chapter numbers to this many UTF-16 bytes")
        ->check(CLI::Range(std::size_t{1}, maxBytes));
    app.add_option("--declared-length", options.declaredLength,
                   "Length in bytes that the book declares, whatever its text has");
    const auto addSwitch = [&app](const char* name, bool& value, const char* help) {
        app.add_flag_callback(
            name, [&value] { value = false; }, help);
    };
    addSwitch("--no-chapter-table", options.chapterTable, "Leave the chapters' table out");
    addSwitch("--no-separators", options.separators, "Put no nodes between the chunks");
    addSwitch("--no-trailer", options.trailer, "End the file with the last chunk");
}

std::runtime_error FileError(const std::string& path, int error) {
    return std::runtime_error(path + ": " + std::generic_category().message(error));
}

umdbook::Bytes ReadFile(const std::string& path) {
    if (std::filesystem::is_directory(path))
        throw FileError(path, EISDIR);
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw FileError(path, errno);
    umdbook::Bytes bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    if (file.bad())
        throw FileError(path, EIO);
    return bytes;
}

void WriteFile(const std::string& path, const umdbook::Bytes& bytes) {
    std::ofstream file(path, std::ios::binary);
    if (!file)
        throw FileError(path, errno);
    file.write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
    file.close();
    if (!file)
        throw FileError(path, EIO);
}

void TakeField(std::u16string& field, const std::optional<std::string>& argument) {
    if (argument)
        field = umdbook::ToUtf16(*argument);
}

umdbook::Book ReadBook(const Arguments& arguments) {
    const umdbook::Bytes text = ReadFile(arguments.textPath);
    try {
        return umdbook::BookFromText(std::string(text.begin(), text.end()));
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(arguments.textPath + ": " + error.what());
    }
}

void MakeBook(const Arguments& arguments) {
    umdbook::Book book = ReadBook(arguments);
    TakeField(book.title, arguments.title);
    TakeField(book.author, arguments.author);
    TakeField(book.year, arguments.year);
    TakeField(book.month, arguments.month);
    TakeField(book.day, arguments.day);
    TakeField(book.genre, arguments.genre);
    TakeField(book.publisher, arguments.publisher);
    TakeField(book.vendor, arguments.vendor);
    if (!arguments.coverPath.empty())
        book.cover = ReadFile(arguments.coverPath);
    if (arguments.repeatTo > 0)
        book = umdbook::Repeated(book, arguments.repeatTo);
    const umdbook::Bytes bytes = umdbook::WriteBook(book, arguments.options);
    WriteFile(arguments.bookPath, bytes);
    std::printf("%s: %zu chapters, %zu UTF-16 bytes of text, %zu bytes\n",
                arguments.bookPath.c_str(), book.chapters.size(), 2 * book.Text().size(),
                bytes.size());
}

int Run(int argc, char** argv) {
    Arguments arguments;
    CLI::App app(kDescription, "mkumd");
    app.set_version_flag("--version", std::string("mkumd ") + MKUMD_VERSION);
    app.add_option("TEXT", arguments.textPath, "UTF-8 text")->required();
    app.add_option("-o,--output", arguments.bookPath, "Book to write")->required();
    AddFieldOptions(app, arguments);
    AddFormOptions(app, arguments);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : kBadUsage;
    }
    MakeBook(arguments);
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    try {
        return Run(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "mkumd: %s\n", error.what());
        return kFailure;
    }
}
