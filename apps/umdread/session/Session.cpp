#include "Session.h"

#include <algorithm>
#include <filesystem>

#include "common/Book.h"
#include "session/Fonts.h"

namespace umdread {

namespace {

// A page's margin and the longest line, in letters' sizes, that still is easy to read.
struct Measure {
    int margin;      // pixels at scale 1
    int longestLine; // 0: as long as the page is wide
};

Measure MeasureOf(Margins margins) {
    switch (margins) {
    case Margins::Narrow:
        return {24, 0};
    case Margins::Wide:
        return {72, 30};
    default:
        return {48, 38};
    }
}

std::string FileName(const std::string& path) {
    return std::filesystem::path(path).stem().string();
}

} // namespace

// Reading the chapters and opening the renderer both inflate the whole text, each with a stream and
// a handler of its own, so they do it at the same time.
Session::Session(const std::string& path, const Settings& settings)
    : Session(path, settings, std::async(std::launch::async, [path] {
                  return umdhost::ReadChapters(umdhost::Book(path));
              })) {}

Session::Session(const std::string& path, const Settings& settings, FutureChapters chapters)
    : m_sPath(path), m_settings(settings), m_pages(path), m_bChinese(m_pages.IsChinese()),
      m_data(path) {
    const umdhost::BookStrings strings = umdhost::Book(path).Strings();
    m_sTitle = strings.title.value_or("");
    if (m_sTitle.empty())
        m_sTitle = FileName(path);
    m_sAuthor = strings.author.value_or("");
    for (umdhost::Chapter& chapter : chapters.get()) {
        if (chapter.place)
            m_chapters.push_back(std::move(chapter));
    }
    ApplySettings();
    OpenWhereLeft();
}

Session::~Session() {
    SavePlace();
}

void Session::OpenWhereLeft() {
    const Place place = m_data.ReadPlace().value_or(Place());
    if (static_cast<int>(place.block) >= m_pages.BlockCount() || !m_pages.Show(place)) {
        if (!m_pages.Show(Place()))
            m_pages.ShowReadable(0, true);
    }
}

// --- the page -----------------------------------------------------------------------------------

void Session::SetPage(int width, int height, int scale) {
    if (width == m_nWidth && height == m_nHeight && scale == m_nScale)
        return;
    m_nWidth = std::max(width, 1);
    m_nHeight = std::max(height, 1);
    m_nScale = scale;
    ApplySettings();
}

void Session::SetSettings(const Settings& settings) {
    m_settings = settings;
    ApplySettings();
}

std::string Session::Font() const {
    return FontDescription(m_settings.family, m_settings.size * m_nScale, m_bChinese);
}

void Session::ApplySettings() {
    const int size = m_settings.size * m_nScale;
    const Measure measure = MeasureOf(m_settings.margins);
    const int margin = std::min(measure.margin * m_nScale, m_nWidth / 8);
    int width = m_nWidth - 2 * margin;
    if (measure.longestLine > 0)
        width = std::min(width, measure.longestLine * size);
    m_text.width = std::max(width, 1);
    m_text.x = (m_nWidth - m_text.width) / 2;
    m_text.y = std::min(measure.margin * m_nScale * 3 / 4, m_nHeight / 8);
    m_text.height = std::max(m_nHeight - 2 * m_text.y, 1);
    m_pages.Set({static_cast<unsigned int>(m_text.width), static_cast<unsigned int>(m_text.height),
                 Font(), static_cast<unsigned int>(size * m_settings.spacing / 100),
                 size * m_settings.indent, m_settings.justified});
}

void Session::Draw(unsigned char* pixels, int stride) {
    unsigned char* const corner =
        pixels + static_cast<std::ptrdiff_t>(m_text.y) * stride + m_text.x;
    m_pages.Draw({0, corner, m_text.height, m_text.width, stride});
}

// --- finding one's way --------------------------------------------------------------------------

Turn Session::TurnPage(bool forward) {
    const Turn turn = m_pages.TurnPage(forward, &m_gap);
    if (turn != Turn::Done)
        return turn;
    m_bMoved = true;
    if (++m_nTurns >= kTurnsUnsaved)
        SavePlace();
    return turn;
}

void Session::PassGap() {
    if (m_gap.next)
        GoTo(*m_gap.next);
}

bool Session::Show(const Place& place) {
    if (!m_pages.Show(place))
        return false;
    m_bMoved = true;
    return true;
}

bool Session::Jump(const Place& place) {
    if (!Show(place))
        return false;
    SavePlace();
    return true;
}

bool Session::GoTo(const Place& place) {
    const Place before = Here();
    if (before == place)
        return true;
    if (!Jump(place))
        return false;
    m_history.Leave(before);
    return true;
}

bool Session::GoToFraction(double fraction) {
    BeginDrag();
    const bool shown = DragTo(fraction);
    SavePlace();
    return shown;
}

void Session::BeginDrag() {
    m_history.Leave(Here());
}

// Most blocks begin inside a word; the next paragraph is a better place to begin to read.
bool Session::DragTo(double fraction) {
    const int last = m_pages.BlockCount() - 1;
    const auto block = static_cast<int>(std::clamp(fraction, 0.0, 1.0) * last);
    return Show(m_pages.ParagraphAfter(block));
}

bool Session::GoToChapter(std::size_t index) {
    return index < m_chapters.size() && GoTo(*m_chapters[index].place);
}

bool Session::GoToEnd() {
    const Place before = Here();
    if (!m_pages.ShowLast())
        return false;
    if (Here() == before)
        return true;
    m_history.Leave(before);
    m_bMoved = true;
    SavePlace();
    return true;
}

bool Session::GoBack() {
    const auto place = m_history.Back(Here());
    return place && Jump(*place);
}

bool Session::GoForward() {
    const auto place = m_history.Forward(Here());
    return place && Jump(*place);
}

double Session::Fraction() {
    return m_pages.End() ? FractionOf(Here()) : 1.0;
}

std::optional<std::size_t> Session::ChapterOf(const Place& place) const {
    std::optional<std::size_t> found; // the table may lie in any order
    for (std::size_t i = 0; i < m_chapters.size(); ++i) {
        const bool isBefore = !(place < *m_chapters[i].place);
        if (isBefore && (!found || !(*m_chapters[i].place < *m_chapters[*found].place)))
            found = i;
    }
    return found;
}

bool Session::IsShown(const Place& place) const {
    if (place < Here())
        return false;
    const auto& end = m_pages.End();
    return !end || place < *end;
}

std::optional<int> Session::LineOf(const Place& place) const {
    const auto middle = m_pages.MiddleOfLine(place);
    return middle ? std::optional(m_text.y + *middle) : std::nullopt;
}

// --- bookmarks and notes ------------------------------------------------------------------------

bool Session::IsBookmarked() const {
    return std::any_of(Bookmarks().begin(), Bookmarks().end(),
                       [this](const Mark& mark) { return IsShown(mark.place); });
}

bool Session::ToggleBookmark() {
    const Marks before = Bookmarks();
    bool removed = false;
    bool written = true;
    for (const Mark& mark : before) {
        if (!IsShown(mark.place))
            continue;
        removed = true;
        written = m_data.RemoveBookmark(mark.place) && written;
    }
    written = removed ? written : m_data.AddBookmark(Here());
    return Noted(written) && SavePlace();
}

const Mark* Session::NoteHere() const {
    for (const Mark& mark : Notes()) {
        if (IsShown(mark.place))
            return &mark;
    }
    return nullptr;
}

bool Session::SetNote(const Place& place, const std::string& text) {
    const bool written = text.empty() ? m_data.RemoveNote(place) : m_data.SetNote(place, text);
    return Noted(written) && SavePlace();
}

bool Session::Noted(bool written) {
    m_bSavingFailed = m_bSavingFailed || !written;
    return written;
}

// --- search -------------------------------------------------------------------------------------

void Session::StartSearch(const std::string& text) {
    m_hit.reset();
    m_pSearch.reset();
    if (!text.empty())
        m_pSearch = std::make_unique<Search>(m_sPath, text);
}

bool Session::StepSearch() {
    return m_pSearch != nullptr && m_pSearch->Step();
}

const std::vector<Hit>& Session::Hits() const {
    static const std::vector<Hit> none;
    return m_pSearch != nullptr ? m_pSearch->Hits() : none;
}

// The screen begins with the hit's paragraph where the hit then stands on it, else with the hit.
bool Session::FollowHit(std::size_t index) {
    if (index >= Hits().size())
        return false;
    const Place place = Hits()[index].place;
    m_hit = index;
    if (IsShown(place))
        return true;
    if (!GoTo(m_pages.ParagraphBefore(place)))
        return GoTo(place);
    return IsShown(place) || Jump(place);
}

bool Session::NextHit(bool forward) {
    const std::vector<Hit>& hits = Hits();
    if (hits.empty())
        return false;
    if (m_hit)
        return FollowHit((*m_hit + (forward ? 1 : hits.size() - 1)) % hits.size());
    const auto after =
        std::lower_bound(hits.begin(), hits.end(), Here(),
                         [](const Hit& hit, const Place& place) { return hit.place < place; });
    const auto index = static_cast<std::size_t>(after - hits.begin());
    return FollowHit((forward ? index : index + hits.size() - 1) % hits.size());
}

// --- keeping the place --------------------------------------------------------------------------

bool Session::SavePlace() {
    if (!m_bMoved)
        return true;
    m_nTurns = 0;
    m_bMoved = !m_data.SavePlace(Here());
    return NotedPlace(!m_bMoved);
}

bool Session::NotedPlace(bool written) {
    if (m_bKeepsPlace)
        Noted(written);
    m_bKeepsPlace = written;
    return written;
}

} // namespace umdread
