#pragma once

#include <pango/pango.h>

#include "layout/GObjectPtr.h"

namespace QvFormat {

// A new Pango layout that holds `length` bytes of text under the settings of another one, but for
// what would make a page unreadable or end the process:
// - an indent leaves room for some letters in every line;
// - lines are never broken inside a cluster, not even where Unicode allows it.
// A negative length takes all of a terminated text. `continues` says that the text goes on with a
// paragraph begun before it: its lines then are that paragraph's inner lines, without a first-line
// indent and in the width that a negative one leaves.
GObjectPtr<PangoLayout> NewReadableLayout(PangoLayout* settings, const char* text, int length,
                                          bool continues);

} // namespace QvFormat
