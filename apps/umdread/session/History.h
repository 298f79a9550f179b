#pragma once

#include <optional>
#include <vector>

#include "common/SavedPlace.h"

namespace umdread {

// The places that jumps began at, for the way back and forward again.
class History {
public:
    // A jump leaves `place`; what could be gone forward to is forgotten.
    void Leave(const umdhost::Place& place);

    bool CanGoBack() const { return !m_back.empty(); }
    bool CanGoForward() const { return !m_forward.empty(); }

    // The place to go to from `here`; none when there is none.
    std::optional<umdhost::Place> Back(const umdhost::Place& here);
    std::optional<umdhost::Place> Forward(const umdhost::Place& here);

private:
    using Places = std::vector<umdhost::Place>;
    static std::optional<umdhost::Place> Move(Places& from, Places& to, const umdhost::Place& here);
    Places m_back;
    Places m_forward;
};

} // namespace umdread
