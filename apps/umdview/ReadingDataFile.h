#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace umdview {

// A record as its header describes it.
struct Record {
    long offset; // of its header in the file
    int type;
    std::uint32_t id;
    std::uint32_t length;  // of its data, in bytes
    std::uint32_t missing; // bytes of the data that the end of the file cuts off
};

// A reading-data file as it lies on the disk; docs/reading-data-format.md describes it.
struct ReadingDataFile {
    static constexpr long kHeaderBytes = 5;       // "QVP", version, revision
    static constexpr long kRecordHeaderBytes = 9; // type, file id, length

    std::string path;
    std::vector<unsigned char> bytes;

    // The little-endian integer at byte `at`.
    std::uint32_t IntegerAt(long at) const;

    // The record that begins at byte `at`, if there is room for a record's header. Each record
    // begins where the data of the one before it ends.
    bool RecordAt(std::int64_t at, Record* record) const;
};

// `path` is that of the file, or of the book it lies beside. Throws Failure when neither leads to a
// reading-data file. Nothing is changed.
ReadingDataFile ReadReadingData(const std::string& path);

} // namespace umdview
