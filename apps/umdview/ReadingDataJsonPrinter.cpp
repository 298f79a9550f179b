#include "Output.h"
#include "ReadingDataPrinter.h"

namespace umdview {

using namespace QvFormat;

namespace {

std::string Dump(const Json& json) {
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

const char* KeyOf(QvpNodeType type) {
    switch (type) {
    case QvpNodeBookInfo:
        return "bookInformation";
    case QvpNodePathTable:
        return "pathTable";
    case QvpNodeIndexList:
        return "indexList";
    case QvpNodeTagList:
        return "tags";
    case QvpNodePositionAnnotations:
        return "positions";
    case QvpNodeRangeAnnotations:
        return "ranges";
    default:
        return "comments";
    }
}

// One object, written piece by piece; a record, and an entry that is no number, take a line each.
class JsonPrinter : public ReadingDataPrinter {
public:
    void Begin(const ReadingDataFile& file) override {
        WriteOut("{\n  \"file\": " + Dump(file.Path()) +
                 ",\n  \"version\": " + std::to_string(file.Version()) +
                 ",\n  \"revision\": " + std::to_string(file.Revision()) +
                 ",\n  \"size\": " + std::to_string(file.Size()) + ",\n  \"records\": [");
    }

    void Record(const ReadingDataFile&, const QvpRecord& record) override {
        Next(m_bAnyRecord, "\n    ");
        WriteOut(Dump({{"offset", record.nOffset},
                       {"type", record.nType},
                       {"name", NameOf(record.nType)},
                       {"id", record.nId},
                       {"length", record.nLength},
                       {"free", record.nType == QvpNodeFree},
                       {"torn", !record.bWhole}}));
    }

    void EndRecords(const RecordTotals& totals) override {
        WriteOut("\n  ],\n  \"liveRecords\": " + std::to_string(totals.live) +
                 ",\n  \"freeRecords\": " + std::to_string(totals.free) +
                 ",\n  \"deadBytes\": " + std::to_string(totals.deadBytes));
    }

    void BeginBooks() override { WriteOut(",\n  \"books\": ["); }

    void BeginBook(unsigned int id) override {
        Next(m_bAnyBook, "");
        WriteOut("\n    {\"id\": " + std::to_string(id));
    }

    void BeginList(QvpNodeType type) override {
        WriteKey(type);
        m_bObject = type == QvpNodeBookInfo;
        m_bAnyEntry = false;
        WriteOut(m_bObject ? "" : "[");
    }

    void Entry(const Json& entry) override {
        Next(m_bAnyEntry, entry.is_number() || m_bObject ? "" : "\n      ");
        WriteOut(Dump(entry));
    }

    void EndList() override {
        if (!m_bObject)
            WriteOut("]");
        else if (!m_bAnyEntry)
            WriteOut("null");
    }

    void NoList(QvpNodeType type) override {
        WriteKey(type);
        WriteOut("null");
    }

    void EndBook() override { WriteOut("}"); }

    void End(const std::vector<std::string>& damage) override {
        WriteOut("\n  ],\n  \"damage\": [");
        bool any = false;
        for (const std::string& what : damage) {
            Next(any, "\n    ");
            WriteOut(Dump(what));
        }
        WriteOut("\n  ]\n}\n");
    }

private:
    // What stands between two elements, or before the first one.
    static void Next(bool& any, const std::string& before) {
        WriteOut((any ? "," : "") + before);
        any = true;
    }

    static void WriteKey(QvpNodeType type) {
        WriteOut((type == QvpNodePathTable ? ",\n  \"" : ",\n     \"") + std::string(KeyOf(type)) +
                 "\": ");
    }

    bool m_bAnyRecord = false;
    bool m_bAnyBook = false;
    bool m_bAnyEntry = false;
    bool m_bObject = false; // the list is no list: book information
};

} // namespace

std::unique_ptr<ReadingDataPrinter> NewJsonPrinter() {
    return std::make_unique<JsonPrinter>();
}

} // namespace umdview
