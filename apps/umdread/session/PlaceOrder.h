// Places in the order of the text.
#pragma once

#include <tuple>

#include "common/SavedPlace.h"

namespace umdhost {

inline bool operator==(const Place& a, const Place& b) {
    return a.block == b.block && a.offset == b.offset;
}
inline bool operator!=(const Place& a, const Place& b) {
    return !(a == b);
}
inline bool operator<(const Place& a, const Place& b) {
    return std::tie(a.block, a.offset) < std::tie(b.block, b.offset);
}

} // namespace umdhost
