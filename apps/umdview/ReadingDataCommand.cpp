#include "ReadingDataCommand.h"

#include <algorithm>
#include <cstdlib>
#include <tuple>
#include <vector>

#include "Output.h"
#include "ReadingDataFile.h"
#include "ReadingDataPrinter.h"
#include "common/Failure.h"

namespace umdview {

using namespace umdhost;

using namespace QvFormat;

namespace {

constexpr QvpNodeType bookLists[] = {QvpNodeBookInfo,         QvpNodeIndexList,
                                     QvpNodeTagList,          QvpNodePositionAnnotations,
                                     QvpNodeRangeAnnotations, QvpNodeCommentAnnotations};

using Records = std::vector<QvpRecord>;
using RecordIterator = Records::const_iterator;

// What is wrong with the file. A file of nothing but damage need not be told all of it.
class Damage {
public:
    void Add(const std::string& what) {
        if (++m_nCount <= mostTold)
            m_told.push_back(what);
    }
    void Add(const QvpRecord& record, const std::string& what) {
        Add("record at offset " + std::to_string(record.nOffset) + ", " + NameOf(record.nType) +
            ": " + what);
    }

    std::vector<std::string> Told() const {
        std::vector<std::string> told = m_told;
        if (m_nCount > mostTold)
            told.push_back(std::to_string(m_nCount - mostTold) + " more places");
        return told;
    }

private:
    static constexpr long mostTold = 100;

    long m_nCount = 0;
    std::vector<std::string> m_told;
};

// The records that lists are made of.
bool IsListed(const QvpRecord& record) {
    return record.bWhole && record.nLength > 0 && record.nType > QvpNodeFree &&
           record.nType <= QvpNodeCommentAnnotations;
}

void Count(const QvpRecord& record, std::uint32_t missing, RecordTotals* totals) {
    if (record.nType != QvpNodeFree) {
        ++totals->live;
        return;
    }
    ++totals->free;
    totals->deadBytes += static_cast<long>(record.nLength - missing);
}

// Prints the table of records and returns those of lists, in the file's order.
Records PrintRecords(ReadingDataFile& file, ReadingDataPrinter& printer, Damage& damage) {
    Records listed;
    RecordTotals totals;
    QvpRecord record = {};
    while (file.Next(&record)) {
        const std::uint32_t missing = BytesMissing(file, record);
        printer.Record(file, record);
        Count(record, missing, &totals);
        if (IsListed(record))
            listed.push_back(record);
        if (!record.bWhole)
            damage.Add(record, "it is cut off; " + std::to_string(missing) + " of its " +
                                   std::to_string(record.nLength) + " bytes are missing");
    }
    if (file.BytesLeft() > 0)
        damage.Add(std::to_string(file.BytesLeft()) + " bytes at the end are no record");
    printer.EndRecords(totals);
    return listed;
}

// Path tables first, whatever their ids; then book by book, the id that all books share first.
auto ListOrder(const QvpRecord& record) {
    const bool ofBook = record.nType != QvpNodePathTable;
    return std::make_tuple(ofBook, ofBook ? record.nId + 1u : 0u, record.nType, record.nOffset);
}

// Prints the records of one list. Of book information the library uses the first one only.
void PrintList(ReadingDataFile& file, RecordIterator first, RecordIterator last,
               ReadingDataPrinter& printer, Damage& damage) {
    printer.BeginList(static_cast<QvpNodeType>(first->nType));
    const auto sink = [&printer](const Json& entry) { printer.Entry(entry); };
    for (auto record = first; record != last; ++record) {
        const bool unused = record->nType == QvpNodeBookInfo && record != first;
        const std::string wrong = unused ? "another one of this file id comes before it"
                                         : DecodeRecord(file, *record, sink);
        if (!wrong.empty())
            damage.Add(*record, wrong);
    }
    printer.EndList();
}

// Prints the list of a type that the records begin with, if they do; returns those behind it.
RecordIterator PrintListOf(QvpNodeType type, ReadingDataFile& file, RecordIterator first,
                           RecordIterator end, ReadingDataPrinter& printer, Damage& damage) {
    const auto last = std::find_if(first, end, [&](const QvpRecord& record) {
        return record.nType != type || (type != QvpNodePathTable && record.nId != first->nId);
    });
    if (first == last)
        printer.NoList(type);
    else
        PrintList(file, first, last, printer, damage);
    return last;
}

void PrintLists(ReadingDataFile& file, Records records, ReadingDataPrinter& printer,
                Damage& damage) {
    std::sort(records.begin(), records.end(),
              [](const QvpRecord& a, const QvpRecord& b) { return ListOrder(a) < ListOrder(b); });
    RecordIterator next =
        PrintListOf(QvpNodePathTable, file, records.cbegin(), records.cend(), printer, damage);
    printer.BeginBooks();
    while (next != records.cend()) {
        const unsigned int id = next->nId;
        const auto end = std::find_if(next, records.cend(),
                                      [id](const QvpRecord& record) { return record.nId != id; });
        printer.BeginBook(id);
        for (const QvpNodeType type : bookLists)
            next = PrintListOf(type, file, next, end, printer, damage);
        printer.EndBook();
    }
}

} // namespace

const char* NameOf(int type) {
    constexpr const char* names[] = {"free",     "book information", "path table", "index list",
                                     "tag list", "positions",        "ranges",     "comments"};
    return type <= QvpNodeCommentAnnotations ? names[type] : "unknown";
}

std::uint32_t BytesMissing(const ReadingDataFile& file, const QvpRecord& record) {
    if (record.bWhole)
        return 0;
    const long present = file.Size() - record.nOffset - QvpFormat::RecordHeaderSize;
    return record.nLength - static_cast<std::uint32_t>(present);
}

int RunReadingData(const std::string& path, bool json) {
    ReadingDataFile file(path);
    const auto printer = json ? NewJsonPrinter() : NewTextPrinter();
    Damage damage;
    printer->Begin(file);
    Records records = PrintRecords(file, *printer, damage);
    PrintLists(file, std::move(records), *printer, damage);
    const std::vector<std::string> told = damage.Told();
    printer->End(told);
    FlushOut();
    for (const std::string& what : told)
        Report(file.Path(), "damaged: " + what);
    return told.empty() ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace umdview
