#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace umdview {

// Where the parts of a reading-data file stand, as docs/reading-data-format.md has them.
constexpr long headerBytes = 5;       // "QVP", version, revision
constexpr long recordHeaderBytes = 9; // type, file id, length

// A record as its header describes it.
struct Record {
    long offset; // of its header in the file
    int type;
    std::uint32_t id;
    std::uint32_t length;  // of its data, in bytes
    std::uint32_t missing; // bytes of the data that the end of the file cuts off
};

// A reading-data file as it lies on the disk.
struct ReadingDataFile {
    std::string path;
    std::vector<unsigned char> bytes;
    std::vector<Record> records; // in the file's order; only the last one can be cut off
    long bytesLeft = 0;          // after the last record, too few for another one
};

// `path` is that of the file, or of the book it lies beside. Throws Failure when neither leads to a
// reading-data file. Nothing is changed.
ReadingDataFile ReadReadingData(const std::string& path);

// The integer of 4 bytes, low byte first, that stands at `at`.
std::uint32_t IntegerAt(const std::vector<unsigned char>& bytes, long at);

} // namespace umdview
