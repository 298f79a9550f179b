#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "DataReader.h"
#include "Output.h"

namespace umdview {

// A record of a reading-data file; docs/reading-data-format.md describes the types.
struct Record {
    std::uint32_t type;
    std::uint32_t id;
    std::uint32_t length;  // of its data, in bytes
    std::string_view data; // fewer bytes where the end of the file cuts them off
};

constexpr std::size_t kRecordHeaderBytes = 9; // type, id, length

// The record that the file goes on with; there must be room for a record's header.
Record TakeRecord(DataReader& file);

// What a record says: its header, where that lies in the file, and the content when it is whole and
// of a known type; null when that cannot be read. `wrong` receives what is damaged in it.
Json ToJson(const Record& record, std::size_t offset, std::string* wrong);

} // namespace umdview
