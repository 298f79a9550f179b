#pragma once

#include <string>

#include "Output.h"
#include "ReadingDataFile.h"

namespace umdview {

// What the library reads of a whole record that is not free: an array of a list's entries, an
// object for book information, null for nothing. `wrong` receives what is damaged in it and stays
// empty when nothing is.
Json DecodeRecord(const ReadingDataFile& file, const Record& record, std::string* wrong);

} // namespace umdview
