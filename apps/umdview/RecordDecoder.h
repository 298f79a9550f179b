#pragma once

#include <string>

#include "DataReader.h"
#include "Output.h"

namespace umdview {

constexpr std::size_t kRecordHeaderBytes = 9; // type, id, length of the data

// What the record says that the file goes on with at `offset`; there must be room for its header.
// It comes with its content when it is whole and of a known type; null when that cannot be read.
// `wrong` receives what is damaged in it. docs/reading-data-format.md describes the types.
Json TakeRecord(DataReader& file, std::size_t offset, std::string* wrong);

} // namespace umdview
