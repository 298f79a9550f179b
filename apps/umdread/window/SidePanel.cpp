#include "SidePanel.h"

#include <chrono>
#include <string>

#include <glibmm/i18n.h>
#include <glibmm/main.h>
#include <glibmm/markup.h>
#include <gtkmm/eventcontrollerkey.h>
#include <libintl.h>

#include "window/Messages.h"

namespace umdread {

namespace {

constexpr int kWidth = 320;
constexpr std::chrono::milliseconds kSearchSlice(5); // of each turn of the main loop

Glib::ustring Escaped(const std::string& text) {
    return Glib::Markup::escape_text(Valid(text));
}

} // namespace

SidePanel::SidePanel()
    : Gtk::Box(Gtk::Orientation::VERTICAL),
      m_contents(_("Contents"), _("This book has no chapters."), false),
      m_bookmarks(_("Bookmarks"), _("No bookmarks yet. Ctrl+D marks the page you are on."), true),
      m_notes(_("Notes"), _("No notes yet. Ctrl+N writes one to the page you are on."), true),
      m_hits(_("Hits"), "", false) {
    set_size_request(kWidth, -1);
    add_css_class("panel");
    AddPage(m_contents, "contents", _("Contents"), "view-list-symbolic");
    AddPage(m_bookmarks, "bookmarks", _("Bookmarks"), "user-bookmarks-symbolic");
    AddPage(m_notes, "notes", _("Notes"), "document-edit-symbolic");
    AddPage(*MakeSearchPage(), "search", _("Search"), "system-search-symbolic");
    m_pages.set_vexpand(true);
    m_switcher.set_stack(m_pages);
    m_switcher.set_halign(Gtk::Align::FILL);
    m_switcher.add_css_class("switcher");
    for (Gtk::Widget* button = m_switcher.get_first_child(); button != nullptr;
         button = button->get_next_sibling())
        button->set_hexpand(true);
    append(m_switcher);
    append(m_pages);
    ListenToLists();
}

SidePanel::~SidePanel() {
    m_step.disconnect();
}

void SidePanel::AddPage(Gtk::Widget& page, const char* name, const Glib::ustring& title,
                        const char* icon) {
    const auto added = m_pages.add(page, name, title);
    added->set_icon_name(icon);
}

void SidePanel::ListenToLists() {
    m_contents.SignalChosen().connect(
        [this](unsigned int i) { m_signalJumped.emit(m_pSession->GoToChapter(i)); });
    m_bookmarks.SignalChosen().connect([this](unsigned int i) {
        m_signalJumped.emit(m_pSession->GoTo(m_pSession->Bookmarks()[i].place));
    });
    m_notes.SignalChosen().connect([this](unsigned int i) {
        m_signalJumped.emit(m_pSession->GoTo(m_pSession->Notes()[i].place));
    });
    m_bookmarks.SignalRemoved().connect([this](unsigned int i) {
        const Place place = m_pSession->Bookmarks()[i].place; // goes with the mark
        m_pSession->RemoveBookmark(place);
        m_signalMarked.emit();
    });
    m_notes.SignalRemoved().connect([this](unsigned int i) {
        const Place place = m_pSession->Notes()[i].place;
        m_pSession->RemoveNote(place);
        m_signalMarked.emit();
    });
    m_hits.SignalChosen().connect([this](unsigned int i) {
        m_pSession->FollowHit(i);
        Followed();
    });
}

Gtk::Box* SidePanel::MakeSearchPage() {
    auto* page = Gtk::make_managed<Gtk::Box>(Gtk::Orientation::VERTICAL);
    m_entry.property_placeholder_text() = _("Search in the book");
    m_entry.add_css_class("search");
    m_count.set_xalign(0);
    m_count.add_css_class("count");
    page->append(m_entry);
    page->append(m_count);
    page->append(m_hits);
    ListenToEntry();
    return page;
}

void SidePanel::ListenToEntry() {
    m_entry.signal_changed().connect([this] { StartSearch(); });
    m_entry.signal_stop_search().connect([this] { m_signalLeave.emit(); });
    const auto keys = Gtk::EventControllerKey::create();
    keys->set_propagation_phase(Gtk::PropagationPhase::CAPTURE);
    keys->signal_key_pressed().connect(
        [this](guint key, guint, Gdk::ModifierType state) {
            if (key != GDK_KEY_Return && key != GDK_KEY_KP_Enter)
                return false;
            const bool back = (state & Gdk::ModifierType::SHIFT_MASK) != Gdk::ModifierType();
            NextHit(!back);
            return true;
        },
        false);
    m_entry.add_controller(keys);
}

void SidePanel::SetSession(Session* session) {
    m_step.disconnect();
    m_pSession = session;
    m_entry.set_text("");
    m_hits.SetRows(0, nullptr);
    m_count.set_text("");
    if (session == nullptr)
        return;
    m_contents.SetRows(static_cast<unsigned int>(session->Chapters().size()),
                       [this](unsigned int i) { return ChapterRow(i); });
    UpdateMarks();
    UpdatePlace();
}

void SidePanel::ShowSearch() {
    m_pages.set_visible_child("search");
    m_entry.grab_focus();
    m_entry.select_region(0, -1);
}

// --- rows ---------------------------------------------------------------------------------------

void SidePanel::UpdatePlace() {
    m_contents.Select(m_pSession->CurrentChapter());
}

void SidePanel::UpdateMarks() {
    m_bookmarks.SetRows(static_cast<unsigned int>(m_pSession->Bookmarks().size()),
                        [this](unsigned int i) { return MarkRow(m_pSession->Bookmarks()[i]); });
    m_notes.SetRows(static_cast<unsigned int>(m_pSession->Notes().size()),
                    [this](unsigned int i) { return MarkRow(m_pSession->Notes()[i]); });
}

Glib::ustring SidePanel::PercentOf(const Place& place) const {
    return Percent(m_pSession->FractionOf(place));
}

Glib::ustring SidePanel::ChapterTitle(const Place& place) const {
    const auto chapter = m_pSession->ChapterOf(place);
    return chapter ? Valid(m_pSession->Chapters()[*chapter].title) : "";
}

Row SidePanel::ChapterRow(unsigned int index) const {
    const umdhost::Chapter& chapter = m_pSession->Chapters()[index];
    const Glib::ustring title =
        chapter.title.empty() ? Glib::ustring(_("Untitled")) : Escaped(chapter.title);
    return {title, "", PercentOf(*chapter.place)};
}

Row SidePanel::MarkRow(const Mark& mark) const {
    const std::string text = m_pSession->TextAt(mark.place);
    if (mark.note.empty())
        return {Escaped(text), ChapterTitle(mark.place), PercentOf(mark.place)};
    return {Escaped(mark.note.substr(0, mark.note.find('\n'))), text, PercentOf(mark.place)};
}

Row SidePanel::HitRow(unsigned int index) const {
    const Hit& hit = m_pSession->Hits()[index];
    const Glib::ustring before = Valid(hit.before);
    constexpr Glib::ustring::size_type kShown =
        12; // of what stands before, so that the hit is seen
    const Glib::ustring near =
        before.size() > kShown ? "…" + before.substr(before.size() - kShown) : before;
    return {Escaped(near) + "<b>" + Escaped(hit.match) + "</b>" + Escaped(hit.after),
            ChapterTitle(hit.place), PercentOf(hit.place)};
}

// --- searching ----------------------------------------------------------------------------------

// In slices on the main loop, so that typing and reading go on; new text drops the search before.
void SidePanel::StartSearch() {
    m_step.disconnect();
    m_next.reset();
    if (m_pSession == nullptr)
        return;
    m_pSession->StartSearch(m_entry.get_text());
    m_hits.SetRows(0, [this](unsigned int i) { return HitRow(i); });
    m_hits.SayEmpty("");
    m_count.set_text("");
    m_signalSearched.emit();
    if (!m_entry.get_text().empty())
        m_step = Glib::signal_idle().connect(sigc::mem_fun(*this, &SidePanel::StepSearch));
}

bool SidePanel::StepSearch() {
    const auto end = std::chrono::steady_clock::now() + kSearchSlice;
    bool more = true;
    while (more && std::chrono::steady_clock::now() < end)
        more = m_pSession->StepSearch();
    m_hits.Grow(static_cast<unsigned int>(m_pSession->Hits().size()));
    SayHits(!more);
    if (!more) {
        m_step.disconnect();
        m_signalSearched.emit();
        if (m_next)
            NextHit(*m_next);
    }
    return more;
}

void SidePanel::NextHit(bool forward) {
    if (IsSearching()) {
        m_next = forward;
        return;
    }
    m_next.reset();
    m_pSession->NextHit(forward);
    Followed();
}

void SidePanel::Followed() {
    m_hits.Select(m_pSession->CurrentHit());
    SayHits(!IsSearching());
    m_signalFollowed.emit();
}

void SidePanel::SayHits(bool done) {
    const std::size_t count = m_pSession->Hits().size();
    if (m_entry.get_text().empty())
        return;
    const std::string number = std::to_string(count);
    if (const auto hit = m_pSession->CurrentHit())
        m_count.set_text(Glib::ustring::compose(_("%1 of %2"), std::to_string(*hit + 1), number));
    else if (count == Search::kMostHits)
        m_count.set_text(Glib::ustring::compose(_("The first %1 hits"), number));
    else if (count > 0)
        m_count.set_text(Glib::ustring::compose(ngettext("%1 hit", "%1 hits", count), number));
    if (done && count == 0)
        m_hits.SayEmpty(_("Not found in this book."));
}

} // namespace umdread
