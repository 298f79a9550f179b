#pragma once

#include <memory>

namespace QvFormat {

// Drops one reference to a GObject.
struct GObjectReleaser {
    void operator()(void* object) const;
};

// An owned reference to a GObject. Hosts that include this need none of GLib's headers.
template<typename T>
using GObjectPtr = std::unique_ptr<T, GObjectReleaser>;

} // namespace QvFormat
