#pragma once

#include <cstdio>

#include "readingdata/Qvp_Node.h"

namespace QvFormat {

// Writes a record over itself at node.nOffset. When that fails half-way, the bytes that stood there
// are put back as far as the file lets itself be written. Where another record or none stands by
// now, nothing is written. Returns whether the record was written.
bool OverwriteQvpRecord(std::FILE* file, const Qvp_Node& node);

// Writes a record at the end of the file and stores where it begins in `*offset`. When that fails,
// the file is cut back to its old end, so that nothing is appended after half a record. When that
// fails too, or an update has failed, the stream takes no more records.
bool AppendQvpRecord(std::FILE* file, const Qvp_Node& node, long* offset);

} // namespace QvFormat
