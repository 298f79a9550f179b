#include <cstdio>

#include "Output.h"
#include "ReadingDataPrinter.h"

namespace umdview {

using namespace QvFormat;

namespace {

constexpr int numbersPerLine = 10;

// The id that all books share is known by its bits.
std::string IdText(unsigned int id) {
    return id == QvpFormat::CommonFileId ? "0xFFFFFFFF" : std::to_string(id);
}

std::string Number(const Json& json) {
    return json.dump();
}

// In quotes, with escapes for line ends and the like: a string's begin and end can be seen.
std::string Quoted(const Json& text) {
    return ForTerminal(text.dump(-1, ' ', false, Json::error_handler_t::replace));
}

std::string Line(const std::string& indent, const std::string& name, const std::string& value) {
    std::string line = indent + name + ":";
    line.resize(indent.size() + 12, ' ');
    return line + value + "\n";
}

std::string PlaceText(const Json& annotation) {
    std::string text =
        "block " + Number(annotation["block"]) + ", offset " + Number(annotation["offset"]);
    if (annotation.contains("length"))
        text += ", length " + Number(annotation["length"]);
    if (annotation.contains("comment"))
        text += ", " + Quoted(annotation["comment"]);
    return text;
}

std::string BookInfoText(const Json& info) {
    const auto line = [](const char* name, const std::string& value) {
        return Line("    ", name, value);
    };
    const auto string = [&](const char* name, const char* key) {
        const Json& text = info[key];
        return line(name, text.is_null() || text.get_ref<const std::string&>().empty()
                              ? "-"
                              : Quoted(text));
    };
    const Json& bookmark = info["readingBookmark"];
    return string("Name", "bookName") + string("Author", "author") +
           string("Publisher", "publisher") + string("ISBN", "isbn") +
           string("Summary", "summary") + string("Cover page", "coverPagePath") +
           line("Source", Number(info["bookSource"])) +
           line("Progress", Number(info["readingProgress"])) +
           line("Bookmark", bookmark.is_null() ? "-" : PlaceText(bookmark)) +
           line("Serialized", info["serialized"].get<bool>() ? "yes" : "no") +
           string("Section", "latestSection");
}

std::string State(const ReadingDataFile& file, const QvpRecord& record) {
    std::string state = record.nType == QvpNodeFree ? "free" : "live";
    if (!record.bWhole)
        state += ", torn: " + std::to_string(BytesMissing(file, record)) + " bytes are missing";
    return state;
}

class TextPrinter : public ReadingDataPrinter {
public:
    void Begin(const ReadingDataFile& file) override {
        WriteOut(
            Line("", "File", ForTerminal(file.Path())) +
            Line("", "Version",
                 std::to_string(file.Version()) + ", revision " + std::to_string(file.Revision())) +
            Line("", "Size", std::to_string(file.Size()) + " bytes"));
        WriteOut("\n    Offset  Type                          Id      Length  State\n");
    }

    void Record(const ReadingDataFile& file, const QvpRecord& record) override {
        char columns[96];
        std::snprintf(columns, sizeof(columns), "%10ld  %3d %-17s %10s  %10lu  ", record.nOffset,
                      record.nType, NameOf(record.nType), IdText(record.nId).c_str(),
                      static_cast<unsigned long>(record.nLength));
        WriteOut(columns + State(file, record) + "\n");
    }

    void EndRecords(const RecordTotals& totals) override {
        WriteOut(
            "\n" +
            Line("", "Records",
                 std::to_string(totals.live) + " live, " + std::to_string(totals.free) + " free") +
            Line("", "Dead", std::to_string(totals.deadBytes) + " bytes of data in free records"));
    }

    void BeginBooks() override {}
    void BeginBook(unsigned int id) override { WriteOut("\nFile id " + IdText(id) + "\n"); }

    void BeginList(QvpNodeType type) override {
        m_eType = type;
        m_nEntries = 0;
        std::string name = NameOf(type);
        name[0] = static_cast<char>(name[0] - 'a' + 'A');
        WriteOut((type == QvpNodePathTable ? "\n" : "  ") + name + "\n");
    }

    void Entry(const Json& entry) override {
        if (m_eType == QvpNodeIndexList)
            WriteOut(m_nEntries % numbersPerLine != 0 ? " " : m_nEntries != 0 ? "\n    " : "    ");
        WriteOut(EntryText(entry));
        ++m_nEntries;
    }

    void EndList() override {
        if (m_nEntries == 0)
            WriteOut("    -\n");
        else if (m_eType == QvpNodeIndexList)
            WriteOut("\n");
    }

    void NoList(QvpNodeType) override {}
    void EndBook() override {}
    void End(const std::vector<std::string>&) override {}

private:
    std::string EntryText(const Json& entry) const {
        switch (m_eType) {
        case QvpNodeBookInfo:
            return BookInfoText(entry);
        case QvpNodePathTable:
            return "    " + Quoted(entry["path"]) + " (" + Number(entry["value0"]) + ", " +
                   Number(entry["value1"]) + ")\n";
        case QvpNodeIndexList:
            return Number(entry);
        case QvpNodeTagList:
            return "    " + Quoted(entry) + "\n";
        default:
            return "    " + PlaceText(entry) + "\n";
        }
    }

    QvpNodeType m_eType = QvpNodeFree;
    unsigned long m_nEntries = 0; // of the list
};

} // namespace

std::unique_ptr<ReadingDataPrinter> NewTextPrinter() {
    return std::make_unique<TextPrinter>();
}

} // namespace umdview
