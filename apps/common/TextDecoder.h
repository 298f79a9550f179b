#pragma once

#include <string>
#include <string_view>

namespace umdhost {

// Turns UTF-16LE text that arrives in pieces, cut anywhere, into UTF-8. Halves of a surrogate pair
// that stand alone are left out, as on the drawn screen.
class TextDecoder {
public:
    // The UTF-8 of all characters that are whole by now; the beginning of another is kept back.
    std::string Decode(std::string_view bytes);

    // True while the beginning of a character waits for its end.
    bool IsInsideCharacter() const { return !m_sPending.empty(); }

    // Forgets what waits, because its end will not come.
    void Reset() { m_sPending.clear(); }

private:
    std::string m_sPending; // at most 3 bytes between two calls
};

} // namespace umdhost
