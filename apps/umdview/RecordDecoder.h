#pragma once

#include <functional>
#include <string>

#include <nlohmann/json.hpp>

#include "ReadingDataFile.h"

namespace umdview {

using Json = nlohmann::ordered_json;

// Takes an entry of a list: a number, a tag, or an object for a path or an annotation; for book
// information, an object with all of it.
using EntrySink = std::function<void(const Json&)>;

// Reads a whole record of a type that lists have through the library's proxies and hands over what
// is in it, in order. Returns what is wrong with the record; empty when nothing is.
std::string DecodeRecord(ReadingDataFile& file, const QvFormat::QvpRecord& record,
                         const EntrySink& sink);

} // namespace umdview
