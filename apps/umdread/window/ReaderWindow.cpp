#include "ReaderWindow.h"

#include <exception>
#include <locale>
#include <sstream>
#include <utility>

#include <glibmm/i18n.h>
#include <glibmm/main.h>

#include "common/Failure.h"
#include "window/Application.h"
#include "window/Messages.h"
#include "window/Trace.h"

namespace umdread {

namespace {

constexpr int kPanelWidth = 320;
constexpr int kNarrowest = 840;      // of a window that has the panel beside the page, not over it
constexpr unsigned int kSaid = 2000; // milliseconds that a short message stands

} // namespace

ReaderWindow::ReaderWindow(Application& application) : m_application(application) {
    const Settings& settings = application.Chosen();
    set_default_size(settings.width, settings.height);
    if (settings.maximized)
        maximize();
    add_css_class("umdread");
    BuildHeader();
    BuildBody();
    AddCommands();
    ListenToPanel();
    ListenToPlace();
    ListenToKeys();
    ListenToFiles();
    ListenToWindow();
    m_page.SetTheme(settings.theme);
}

ReaderWindow::~ReaderWindow() {
    m_prepare.disconnect();
    m_hush.disconnect();
}

// --- books --------------------------------------------------------------------------------------

void ReaderWindow::OpenBook(const std::string& path) {
    std::unique_ptr<Session> session;
    try {
        session = std::make_unique<Session>(path, m_application.Chosen());
    } catch (const std::exception& error) {
        if (m_pSession == nullptr)
            ShowShelf();
        return Notice(WhyNotOpened(path, error));
    }
    CloseBook();
    m_pSession = std::move(session);
    m_notice.set_revealed(false);
    m_page.SetSession(m_pSession.get());
    m_panel.SetSession(m_pSession.get());
    m_place.SetSession(m_pSession.get());
    m_views.set_visible_child("book");
    SetBookControls(true);
    m_panelButton.set_active(m_application.Chosen().panel);
    PutOnShelf();
    UpdatePlace();
    m_page.grab_focus();
    m_pSession->CheckSaving();
    SayWhetherSaved();
}

void ReaderWindow::CloseBook() {
    if (m_pSession == nullptr)
        return;
    SavePlace();
    m_prepare.disconnect();
    m_pNote.reset();
    m_page.SetSession(nullptr);
    m_panel.SetSession(nullptr);
    m_place.SetSession(nullptr);
    m_pSession.reset();
}

void ReaderWindow::ShowShelf() {
    CloseBook();
    m_shelf.Show(m_application.Books().Books());
    m_views.set_visible_child("shelf");
    m_notice.set_revealed(false);
    SetBookControls(false);
    m_title.set_text(_("Bookshelf"));
    m_subtitle.set_visible(false);
    set_title(_("Bookshelf"));
}

void ReaderWindow::PutOnShelf() {
    m_application.Books().Put(
        {m_pSession->Path(), m_pSession->Title(), m_pSession->Author(), m_pSession->Fraction()});
}

void ReaderWindow::SavePlace() {
    if (m_pSession == nullptr)
        return;
    m_pSession->SavePlace();
    SayWhetherSaved();
    PutOnShelf();
}

bool ReaderWindow::OnClose() {
    CloseBook();
    Settings settings = m_application.Chosen();
    settings.panel = m_panelButton.get_active();
    settings.maximized = is_maximized();
    if (!settings.maximized && !is_fullscreen())
        get_default_size(settings.width, settings.height);
    m_application.Choose(settings);
    return false;
}

// --- turning and jumping ------------------------------------------------------------------------

void ReaderWindow::Turn(bool forward) {
    const umdread::Turn turn = forward ? m_pSession->NextPage() : m_pSession->PreviousPage();
    if (turn == umdread::Turn::Done)
        return UpdatePage();
    const Gap& gap = m_pSession->LastGap();
    if (turn == umdread::Turn::AtGap && gap.next)
        return SayGap(_("Some %1 characters here are damaged and cannot be shown."), gap.bytes,
                      true);
    if (turn == umdread::Turn::AtGap)
        return Notice(_("What follows here is damaged and cannot be shown."));
    SayShortly(forward ? _("This is the end of the book.")
                       : _("This is the beginning of the book."));
}

void ReaderWindow::SayGap(const char* text, int bytes, bool offersToGoOn) {
    const Glib::ustring characters = std::to_string(bytes / 2);
    Notice(Glib::ustring::compose(text, characters), offersToGoOn);
}

void ReaderWindow::PassGap() {
    m_pSession->PassGap();
    UpdatePage();
    m_page.grab_focus();
}

void ReaderWindow::Jumped(bool shown) {
    if (!shown)
        return SayShortly(_("The text there cannot be shown."));
    UpdatePage();
    if (m_pSession->PassedOver() > 0)
        SayGap(_("Some %1 characters before this page are damaged and cannot be shown."),
               m_pSession->PassedOver(), false);
    if (get_width() < kNarrowest && !m_panel.IsSearching())
        m_panelButton.set_active(false);
}

// --- marks --------------------------------------------------------------------------------------

void ReaderWindow::ToggleBookmark() {
    m_pSession->ToggleBookmark();
    MarksChanged();
}

void ReaderWindow::WriteNote() {
    const Mark* note = m_pSession->NoteHere();
    const Place place = note != nullptr ? note->place : m_pSession->Here();
    const Glib::ustring text = note != nullptr ? Valid(note->note) : "";
    m_pNote = std::make_unique<NoteDialog>(*this, text);
    m_pNote->SignalWritten().connect([this, place](const std::string& written) {
        m_pSession->SetNote(place, written);
        MarksChanged();
    });
    m_pNote->present();
}

void ReaderWindow::MarksChanged() {
    m_panel.UpdateMarks();
    m_page.RefreshMarks();
    SayWhetherSaved();
}

// --- settings -----------------------------------------------------------------------------------

void ReaderWindow::SetSize(int step) {
    Settings settings = m_application.Chosen();
    settings.size = step == 0 ? Settings::kDefaultSize : settings.size + step * 2;
    m_application.Choose(settings);
}

void ReaderWindow::ApplySettings() {
    m_page.SetTheme(m_application.Chosen().theme);
    if (m_type.get_visible())
        m_type.Show(m_application.Chosen());
    if (m_pSession == nullptr)
        return;
    m_pSession->SetSettings(m_application.Chosen());
    UpdatePage();
}

// --- what is shown ------------------------------------------------------------------------------

void ReaderWindow::UpdatePage() {
    m_page.Refresh();
    UpdatePlace();
    if (m_goOn.get_visible())
        m_notice.set_revealed(false);
}

void ReaderWindow::UpdatePlace() {
    const auto chapter = m_pSession->CurrentChapter();
    const Glib::ustring title = Valid(m_pSession->Title());
    const Glib::ustring part = chapter ? Valid(m_pSession->Chapters()[*chapter].title) : "";
    if (m_title.get_text() != title) {
        m_title.set_text(title);
        set_title(title);
    }
    if (m_subtitle.get_text() != part)
        m_subtitle.set_text(part);
    m_subtitle.set_visible(!part.empty());
    m_pBack->set_enabled(m_pSession->CanGoBack());
    m_pForward->set_enabled(m_pSession->CanGoForward());
    m_place.Update();
    m_panel.UpdatePlace();
    SayWhetherSaved();
}

void ReaderWindow::SayWhetherSaved() {
    if (m_pSession->TakeSavingFailed())
        Notice(_("Your place, bookmarks and notes cannot be kept: the file beside the book cannot "
                 "be written."));
}

// When the screen is drawn and nothing else is to be done, the next turn is made ready. An idle
// callback that began with the turn could come before the frame and hold it up.
void ReaderWindow::PrepareLater() {
    m_prepare.disconnect();
    m_prepare = Glib::signal_idle().connect(
        [this] {
            m_pSession->Prepare();
            Trace("frame prepared=1");
            return false;
        },
        Glib::PRIORITY_LOW);
}

void ReaderWindow::SetBookControls(bool reading) {
    for (Gtk::Widget* widget :
         {static_cast<Gtk::Widget*>(&m_panelButton), static_cast<Gtk::Widget*>(&m_backButton),
          static_cast<Gtk::Widget*>(&m_searchButton), static_cast<Gtk::Widget*>(&m_typeButton)})
        widget->set_visible(reading);
    if (reading)
        insert_action_group("book", m_pCommands);
    else
        remove_action_group("book");
}

// Beside the page where there is room for both, else over it.
void ReaderWindow::FitPanel() {
    const bool shown = m_panelButton.get_active();
    m_panelSlide.set_reveal_child(shown);
    m_panelSlide.set_visible(shown);
    const bool beside = get_width() >= kNarrowest;
    m_column.set_margin_start(shown && beside ? kPanelWidth : 0);
    if (beside)
        m_panel.remove_css_class("over");
    else
        m_panel.add_css_class("over");
}

void ReaderWindow::OpenSearch() {
    m_panelButton.set_active(true);
    m_panel.ShowSearch();
}

void ReaderWindow::SayShortly(const Glib::ustring& text) {
    m_said.set_text(text);
    m_saying.set_reveal_child(true);
    m_hush.disconnect();
    m_hush = Glib::signal_timeout().connect(
        [this] {
            m_saying.set_reveal_child(false);
            return false;
        },
        kSaid);
}

void ReaderWindow::Notice(const Glib::ustring& text, bool offersToGoOn) {
    m_noticeText.set_text(text);
    m_goOn.set_visible(offersToGoOn);
    m_notice.set_revealed(true);
    if (offersToGoOn)
        m_goOn.grab_focus();
}

// --- for tests ----------------------------------------------------------------------------------

void ReaderWindow::TraceFrame() {
    gdk_display_sync(get_display()->gobj());
    const bool drawn = std::exchange(m_bDrawn, false);
    std::ostringstream line;
    line.imbue(std::locale::classic()); // numbers without separators
    line << "frame window=" << get_id();
    if (drawn && m_nKeyTime != 0) {
        line << " us=" << g_get_monotonic_time() - m_nKeyTime * gint64{1000}
             << " cpu=" << ProcessTime() - m_nKeyCpu;
        m_nKeyTime = 0;
    }
    if (m_pSession != nullptr) {
        const Place& here = m_pSession->Here();
        const Box& box = m_pSession->TextBox();
        double x = 0;
        double y = 0;
        double left = 0;
        double top = 0;
        m_page.translate_coordinates(*this, 0, 0, x, y);
        gtk_native_get_surface_transform(GTK_NATIVE(gobj()), &left, &top); // past the shadow
        line << " drawn=" << drawn << " place=" << here.block << ':' << here.offset
             << " at=" << static_cast<int>(x + left) << ',' << static_cast<int>(y + top)
             << " text=" << box.x << ',' << box.y << ',' << box.width << ',' << box.height
             << " hits=" << m_pSession->Hits().size() << " searching=" << m_panel.IsSearching()
             << " bookmarks=" << m_pSession->Bookmarks().size()
             << " notes=" << m_pSession->Notes().size() << " font=" << m_pSession->Font();
    }
    if (m_notice.get_revealed())
        line << " notice=" << m_noticeText.get_text().raw();
    if (m_saying.get_reveal_child())
        line << " said=" << m_said.get_text().raw();
    Trace(line.str());
}

} // namespace umdread
