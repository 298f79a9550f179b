#pragma once

#include <pango/pango.h>

#include "layout/GObjectPtr.h"

namespace QvFormat {

// A new Pango layout that holds a terminated text under the settings of another one, but for what
// would make a page unreadable or end the process:
// - beside an indent some letters fit into every line;
// - no line is broken inside a cluster, not even where Unicode allows it.
GObjectPtr<PangoLayout> NewReadableLayout(PangoLayout* settings, const char* text);

} // namespace QvFormat
