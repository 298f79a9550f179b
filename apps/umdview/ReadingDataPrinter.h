#pragma once

#include <memory>
#include <string>
#include <vector>

#include "QvpNodeType.h"
#include "RecordDecoder.h"

namespace umdview {

// What a reading-data file comes to.
struct RecordTotals {
    long live = 0;
    long free = 0;
    long deadBytes = 0; // data of free records; their headers are not counted by the format either
};

// Writes what a reading-data file holds to standard output while it is read, so that no file is too
// long. The operations are called in their order: per record, per list of a book, per book.
class ReadingDataPrinter {
public:
    virtual ~ReadingDataPrinter() = default;

    virtual void Begin(const ReadingDataFile& file) = 0;
    virtual void Record(const ReadingDataFile& file, const QvFormat::QvpRecord& record) = 0;
    virtual void EndRecords(const RecordTotals& totals) = 0;

    // The path table comes first and belongs to no book; then each book has its lists.
    virtual void BeginBooks() = 0;
    virtual void BeginBook(unsigned int id) = 0;
    virtual void BeginList(QvFormat::QvpNodeType type) = 0;
    virtual void Entry(const Json& entry) = 0;
    virtual void EndList() = 0;
    virtual void NoList(QvFormat::QvpNodeType type) = 0;
    virtual void EndBook() = 0;

    virtual void End(const std::vector<std::string>& damage) = 0;
};

std::unique_ptr<ReadingDataPrinter> NewTextPrinter();
std::unique_ptr<ReadingDataPrinter> NewJsonPrinter();

// "index list"
const char* NameOf(int type);

// How much of a record's data the end of the file cuts off.
std::uint32_t BytesMissing(const ReadingDataFile& file, const QvFormat::QvpRecord& record);

} // namespace umdview
