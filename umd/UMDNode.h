#pragma once

#include <cstdint>

namespace QvFormat {

// The header of one node of a UMD file. All offsets and lengths are bytes.
struct UMDNode {
    std::int32_t offset; // of the node's first byte in the file
    std::int32_t length; // of the whole node as it states it, its header included
    std::int32_t type;   // a function node's type, sign-extended, or a data node's identifier
    std::int32_t contentLength; // length less the header
    std::int32_t contentOffset; // of the first byte after the header in the file
};

static_assert(sizeof(UMDNode) == 20, "five 32-bit integers");

} // namespace QvFormat
