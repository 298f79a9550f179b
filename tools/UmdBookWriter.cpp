#include "tools/UmdBookWriter.h"

#include <algorithm>
#include <array>
#include <limits>
#include <new>
#include <sstream>
#include <stdexcept>
#include <utility>

#include <zlib.h>

#include "base/LittleEndian.h"
#include "umd/UMDFormat.h"

namespace umdbook {

namespace {

using namespace QvFormat::UMDFormat;

// Types that a reader skips.
enum SkippedType : int {
    FileEnd = 0x0C,
    ChunkList = 0x81,
    Cover = 0x82,
    PageOffsets = 0x87,
};

constexpr std::size_t kStringUnits = 125;       // a node of 255 bytes less its header
constexpr std::size_t kChapterTitleUnits = 127; // a size of one byte
constexpr std::size_t kFileLimit = std::numeric_limits<std::int32_t>::max();
constexpr std::uint32_t kPageBytes = 4096; // nobody reads the page offsets, so any page will do
constexpr char16_t kParagraphSeparator = u'\u2029';

bool IsHighSurrogate(char16_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}
bool IsLowSurrogate(char16_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

std::u16string Cut(const std::u16string& text, std::size_t units) {
    if (text.size() <= units)
        return text;
    const bool splitsPair = IsHighSurrogate(text[units - 1]) && IsLowSurrogate(text[units]);
    return text.substr(0, splitsPair ? units - 1 : units);
}

Bytes LE32(std::uint32_t value) {
    Bytes bytes(4);
    QvFormat::StoreLE32(bytes.data(), value);
    return bytes;
}

Bytes LE16(const char16_t* units, std::size_t count) {
    Bytes bytes(2 * count);
    for (std::size_t i = 0; i < count; ++i)
        QvFormat::StoreLE16(bytes.data() + 2 * i, units[i]);
    return bytes;
}

Bytes LE16(const std::u16string& text) {
    return LE16(text.data(), text.size());
}

Bytes operator+(Bytes left, const Bytes& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

Bytes Deflated(const Bytes& bytes) {
    uLongf size = compressBound(static_cast<uLong>(bytes.size()));
    Bytes stream(size);
    const uLong count = static_cast<uLong>(bytes.size());
    if (compress2(stream.data(), &size, bytes.data(), count, Z_DEFAULT_COMPRESSION) != Z_OK)
        throw std::bad_alloc();
    stream.resize(size);
    return stream;
}

// The nodes of a file, in the order they are added.
class NodeList {
public:
    NodeList() : m_bytes(4) {} // the signature, which readers ignore

    std::size_t Size() const { return m_bytes.size(); }
    Bytes Take() { return std::move(m_bytes); }

    void Function(int type, const Bytes& content) { AddFunction(type, 0, content); }

    // A function node whose content ends with the identifier of the data node that follows.
    void Announced(int type, const Bytes& head, const Bytes& data) {
        const std::uint32_t identifier = m_nextIdentifier++;
        AddFunction(type, 1, head + LE32(identifier));
        AddData(identifier, data);
    }

    std::uint32_t Data(const Bytes& content) {
        AddData(m_nextIdentifier, content);
        return m_nextIdentifier++;
    }

private:
    void AddFunction(int type, unsigned char flag, const Bytes& content) {
        const auto length = static_cast<unsigned char>(kFunctionHeaderSize + content.size());
        const auto low = static_cast<unsigned char>(type);
        Append({'#', low, static_cast<unsigned char>(type >> 8), flag, length});
        Append(content);
    }

    void AddData(std::uint32_t identifier, const Bytes& content) {
        if (content.size() > kFileLimit - kDataHeaderSize)
            throw std::length_error("a data node of this book passes 2 GiB");
        Append({'$'});
        Append(LE32(identifier));
        Append(LE32(static_cast<std::uint32_t>(kDataHeaderSize + content.size())));
        Append(content);
    }

    void Append(const Bytes& bytes) {
        if (bytes.size() > kFileLimit - m_bytes.size())
            throw std::length_error("the book's file passes 2 GiB");
        m_bytes.insert(m_bytes.end(), bytes.begin(), bytes.end());
    }

    Bytes m_bytes;
    std::uint32_t m_nextIdentifier = 0x1001;
};

void AddStrings(NodeList& nodes, const Book& book) {
    const std::pair<int, const std::u16string*> strings[] = {
        {Title, &book.title},         {Author, &book.author}, {Year, &book.year},
        {Month, &book.month},         {Day, &book.day},       {Genre, &book.genre},
        {Publisher, &book.publisher}, {Vendor, &book.vendor}};
    for (const auto& [type, string] : strings)
        if (!string->empty())
            nodes.Function(type, LE16(Cut(*string, kStringUnits)));
}

void AddContentLength(NodeList& nodes, const Book& book, const Options& options) {
    std::size_t length = 0;
    for (const Chapter& chapter : book.chapters)
        length += 2 * chapter.text.size();
    if (length > kFileLimit)
        throw std::length_error("the book's text passes 2 GiB");
    const auto declared = options.declaredLength.value_or(static_cast<std::int32_t>(length));
    nodes.Function(ContentLength, LE32(static_cast<std::uint32_t>(declared)));
}

void AddChapterTable(NodeList& nodes, const Book& book) {
    Bytes offsets;
    Bytes titles;
    std::size_t offset = 0;
    for (const Chapter& chapter : book.chapters) {
        offsets = std::move(offsets) + LE32(static_cast<std::uint32_t>(offset));
        offset += 2 * chapter.text.size();
        const Bytes title = LE16(Cut(chapter.title, kChapterTitleUnits));
        titles.push_back(static_cast<unsigned char>(title.size()));
        titles = std::move(titles) + title;
    }
    nodes.Announced(ChapterOffsets, {}, offsets);
    nodes.Announced(ChapterTitles, {}, titles);
}

// The nodes that stand between some chunks of real books: one kind after the first chunk, the
// other after every third.
void AddSeparatorAfter(NodeList& nodes, std::size_t chunk) {
    if (chunk == 0)
        nodes.Function(MoreChunks, Bytes(16));
    else if (chunk % 3 == 2)
        nodes.Function(Chunks, LE32(static_cast<std::uint32_t>(chunk)));
}

// Returns the chunks' identifiers as the chunk list holds them.
Bytes AddChunks(NodeList& nodes, const std::u16string& text, const Options& options) {
    const std::size_t chunkUnits = std::max<std::size_t>(options.chunkBytes / 2, 1);
    Bytes identifiers;
    for (std::size_t chunk = 0, start = 0; start < text.size(); ++chunk, start += chunkUnits) {
        if (options.separators && chunk > 0)
            AddSeparatorAfter(nodes, chunk - 1);
        const std::size_t units = std::min(chunkUnits, text.size() - start);
        const std::uint32_t identifier = nodes.Data(Deflated(LE16(text.data() + start, units)));
        identifiers = std::move(identifiers) + LE32(identifier);
    }
    return identifiers;
}

void AddTrailer(NodeList& nodes, const Book& book, const Bytes& chunkIdentifiers,
                std::size_t textBytes) {
    nodes.Announced(ChunkList, {}, chunkIdentifiers);
    if (!book.cover.empty())
        nodes.Announced(Cover, {1}, book.cover); // 1: a JPEG image
    Bytes pages;
    for (std::size_t offset = 0; offset < textBytes; offset += kPageBytes)
        pages = std::move(pages) + LE32(static_cast<std::uint32_t>(offset));
    nodes.Announced(PageOffsets, {16, 208}, pages); // for 16 px type on a screen of 208 px
    const std::size_t fileBytes = nodes.Size() + kFunctionHeaderSize + 4;
    nodes.Function(FileEnd, LE32(static_cast<std::uint32_t>(fileBytes)));
}

// --- text to book ------------------------------------------------------------------------------

// Decodes the character at `*position` and moves past it.
char32_t NextCharacter(const std::string& utf8, std::size_t* position) {
    const auto byteAt = [&](std::size_t i) {
        return i < utf8.size() ? static_cast<unsigned char>(utf8[i]) : 0U;
    };
    const unsigned lead = byteAt(*position);
    const std::size_t size = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    constexpr std::array<char32_t, 5> smallest = {0, 0, 0x80, 0x800, 0x10000};
    char32_t character = size == 1 ? lead : lead & (0x7FU >> size);
    bool valid = lead < 0x80 || (lead >= 0xC2 && lead <= 0xF4);
    for (std::size_t i = 1; i < size; ++i) {
        valid = valid && (byteAt(*position + i) & 0xC0U) == 0x80;
        character = character << 6 | (byteAt(*position + i) & 0x3FU);
    }
    const bool surrogate = character >= 0xD800 && character <= 0xDFFF;
    if (!valid || surrogate || character < smallest[size] || character > 0x10FFFF)
        throw std::runtime_error("not UTF-8 at byte " + std::to_string(*position));
    *position += size;
    return character;
}

void AppendUtf8(std::string& utf8, char32_t character) {
    const std::size_t size = character < 0x80      ? 1
                             : character < 0x800   ? 2
                             : character < 0x10000 ? 3
                                                   : 4;
    if (size == 1) {
        utf8.push_back(static_cast<char>(character));
        return;
    }
    const unsigned leadMark = 0xF00U >> size & 0xFFU;
    utf8.push_back(static_cast<char>(leadMark | character >> (6 * (size - 1))));
    for (std::size_t i = size - 1; i-- > 0;)
        utf8.push_back(static_cast<char>(0x80U | (character >> (6 * i) & 0x3FU)));
}

std::u16string Trimmed(const std::u16string& line) {
    constexpr const char16_t* blanks = u" \t\r";
    const std::size_t start = line.find_first_not_of(blanks);
    if (start == std::u16string::npos)
        return {};
    return line.substr(start, line.find_last_not_of(blanks) + 1 - start);
}

std::vector<std::u16string> TrimmedLines(const std::u16string& text) {
    std::vector<std::u16string> lines;
    std::size_t start = text.substr(0, 1) == u"\uFEFF" ? 1 : 0;
    while (start < text.size()) {
        const std::size_t end = std::min(text.find(u'\n', start), text.size());
        lines.push_back(Trimmed(text.substr(start, end - start)));
        start = end + 1;
    }
    return lines;
}

// Stores "title: Tao Te Ching" and the like in the book; false for a line that is no field.
bool TakeField(Book& book, const std::u16string& line) {
    const std::pair<const char16_t*, std::u16string*> fields[] = {
        {u"title: ", &book.title},         {u"author: ", &book.author}, {u"year: ", &book.year},
        {u"month: ", &book.month},         {u"day: ", &book.day},       {u"genre: ", &book.genre},
        {u"publisher: ", &book.publisher}, {u"vendor: ", &book.vendor}};
    for (const auto& [key, string] : fields) {
        if (line.rfind(key, 0) != 0)
            continue;
        *string = Trimmed(line.substr(std::u16string(key).size()));
        return true;
    }
    return false;
}

// Returns the number of lines taken, the blank one after the fields included.
std::size_t TakeFields(Book& book, const std::vector<std::u16string>& lines) {
    if (lines.empty() || !TakeField(book, lines.front()))
        return 0;
    for (std::size_t i = 1; i < lines.size(); ++i) {
        if (lines[i].empty())
            return i + 1;
        if (!TakeField(book, lines[i]))
            throw std::runtime_error("line " + std::to_string(i + 1) +
                                     " is no field of a book; a blank line ends the fields");
    }
    return lines.size();
}

// Words are joined with a space, Chinese and Japanese text without one.
void JoinLine(std::u16string& paragraph, const std::u16string& line) {
    constexpr char16_t firstWide = 0x2E80;
    const bool joint =
        !paragraph.empty() && paragraph.back() < firstWide && line.front() < firstWide;
    paragraph += joint ? u" " + line : line;
}

void EndParagraph(Book& book, std::u16string& paragraph) {
    if (paragraph.empty())
        return;
    if (book.chapters.empty())
        book.chapters.emplace_back();
    book.chapters.back().text += paragraph + kParagraphSeparator;
    paragraph.clear();
}

} // namespace

std::u16string Book::Text() const {
    std::u16string text;
    for (const Chapter& chapter : chapters)
        text += chapter.text;
    return text;
}

Bytes WriteBook(const Book& book, const Options& options) {
    NodeList nodes;
    nodes.Function(BookType, {1, 0x5A, 0xC3}); // 1: text; then any two bytes
    AddStrings(nodes, book);
    AddContentLength(nodes, book, options);
    // A table of no chapters would make the book unreadable.
    if (options.chapterTable && !book.chapters.empty())
        AddChapterTable(nodes, book);
    else
        nodes.Function(MoreChunks, Bytes(16));
    const std::u16string text = book.Text();
    const Bytes chunkIdentifiers = AddChunks(nodes, text, options);
    if (options.trailer)
        AddTrailer(nodes, book, chunkIdentifiers, 2 * text.size());
    return nodes.Take();
}

Book Repeated(const Book& book, std::size_t utf16Bytes) {
    if (book.Text().empty())
        return book;
    Book repeated = book;
    repeated.chapters.clear();
    std::size_t bytes = 0;
    for (std::size_t i = 0; i < book.chapters.size() || bytes < utf16Bytes; ++i) {
        const Chapter& chapter = book.chapters[i % book.chapters.size()];
        const std::u16string number = ToUtf16(std::to_string(i + 1) + ". ");
        repeated.chapters.push_back({number + chapter.title, number + chapter.text});
        bytes += 2 * repeated.chapters.back().text.size();
    }
    return repeated;
}

Book BookFromText(const std::string& utf8) {
    Book book;
    const std::vector<std::u16string> lines = TrimmedLines(ToUtf16(utf8));
    std::u16string paragraph;
    for (std::size_t i = TakeFields(book, lines); i < lines.size(); ++i) {
        const bool heading = lines[i].rfind(u"# ", 0) == 0;
        if (heading || lines[i].empty())
            EndParagraph(book, paragraph);
        if (heading) {
            const std::u16string title = Trimmed(lines[i].substr(2));
            book.chapters.push_back({title, title + kParagraphSeparator});
        } else if (!lines[i].empty()) {
            JoinLine(paragraph, lines[i]);
        }
    }
    EndParagraph(book, paragraph);
    return book;
}

std::u16string ToUtf16(const std::string& utf8) {
    std::u16string text;
    text.reserve(utf8.size());
    for (std::size_t position = 0; position < utf8.size();) {
        const char32_t character = NextCharacter(utf8, &position);
        if (character < 0x10000) {
            text.push_back(static_cast<char16_t>(character));
        } else {
            text.push_back(static_cast<char16_t>(0xD7C0 + (character >> 10)));
            text.push_back(static_cast<char16_t>(0xDC00 + (character & 0x3FF)));
        }
    }
    return text;
}

std::string ToUtf8(const std::u16string& text) {
    std::string utf8;
    utf8.reserve(3 * text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        char32_t character = text[i];
        const bool pair =
            IsHighSurrogate(text[i]) && i + 1 < text.size() && IsLowSurrogate(text[i + 1]);
        if (pair)
            character = 0x10000 + ((character - 0xD800) << 10) + (text[++i] - 0xDC00U);
        else if (IsHighSurrogate(text[i]) || IsLowSurrogate(text[i]))
            character = 0xFFFD;
        AppendUtf8(utf8, character);
    }
    return utf8;
}

} // namespace umdbook
