#pragma once

namespace QvFormat {

class CPangoLayout;
class ITextLayout;

// Knows every CPangoLayout that exists. Its constructor and destructor call these.
void RegisterLayout(CPangoLayout* layout);
void UnregisterLayout(CPangoLayout* layout);

// The CPangoLayout behind the interface, or null for a host's own class. The object itself is not
// asked: a host may build it without the type information that dynamic_cast reads.
CPangoLayout* FindPangoLayout(ITextLayout* layout);

} // namespace QvFormat
