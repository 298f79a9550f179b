#include "History.h"

namespace umdread {

namespace {

constexpr std::size_t kMostPlaces = 200;

}

void History::Leave(const umdhost::Place& place) {
    m_forward.clear();
    if (!m_back.empty() && m_back.back() == place)
        return;
    if (m_back.size() == kMostPlaces)
        m_back.erase(m_back.begin());
    m_back.push_back(place);
}

std::optional<umdhost::Place> History::Back(const umdhost::Place& here) {
    return Move(m_back, m_forward, here);
}

std::optional<umdhost::Place> History::Forward(const umdhost::Place& here) {
    return Move(m_forward, m_back, here);
}

std::optional<umdhost::Place> History::Move(Places& from, Places& to, const umdhost::Place& here) {
    if (from.empty())
        return std::nullopt;
    const umdhost::Place place = from.back();
    from.pop_back();
    to.push_back(here);
    return place;
}

} // namespace umdread
