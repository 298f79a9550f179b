// How the window is put together.
#include <gdkmm/frameclock.h>
#include <glibmm/i18n.h>
#include <gtkmm/aboutdialog.h>
#include <gtkmm/dialog.h>
#include <gtkmm/droptarget.h>
#include <gtkmm/editable.h>
#include <gtkmm/eventcontrollerkey.h>
#include <gtkmm/filefilter.h>
#include <gtkmm/text.h>
#include <gtkmm/textview.h>

#include "window/Application.h"
#include "window/ReaderWindow.h"
#include "window/Trace.h"

namespace umdread {

namespace {

void DressButton(Gtk::Widget& button, const Glib::ustring& tip) {
    button.set_tooltip_text(tip);
    button.set_focus_on_click(false);
    gtk_accessible_update_property(GTK_ACCESSIBLE(button.gobj()), GTK_ACCESSIBLE_PROPERTY_LABEL,
                                   tip.c_str(), -1);
}

Glib::RefPtr<Gio::Menu> MakeMenu() {
    const auto books = Gio::Menu::create();
    books->append(_("Open…"), "win.open");
    books->append(_("Bookshelf"), "win.shelf");
    books->append(_("New Window"), "app.new-window");
    const auto page = Gio::Menu::create();
    page->append(_("Bookmark"), "win.bookmark");
    page->append(_("Note…"), "win.note");
    page->append(_("Go To…"), "win.goto");
    page->append(_("Full Screen"), "win.fullscreen");
    const auto help = Gio::Menu::create();
    help->append(_("Keyboard Shortcuts"), "win.show-help-overlay");
    help->append(_("About"), "win.about");
    const auto menu = Gio::Menu::create();
    menu->append_section("", books);
    menu->append_section("", page);
    menu->append_section("", help);
    return menu;
}

bool IsWithin(Gtk::Widget* widget, GType type) {
    return widget != nullptr && gtk_widget_get_ancestor(widget->gobj(), type) != nullptr;
}

} // namespace

void ReaderWindow::BuildHeader() {
    m_panelButton.set_icon_name("sidebar-show-symbolic");
    DressButton(m_panelButton, _("Contents, bookmarks and notes (F9)"));
    m_panelButton.signal_toggled().connect([this] { FitPanel(); });
    m_backButton.set_icon_name("go-previous-symbolic");
    m_backButton.set_action_name("win.back");
    DressButton(m_backButton, _("Back to where you were (Alt+Left)"));
    m_searchButton.set_icon_name("system-search-symbolic");
    m_searchButton.set_action_name("win.search");
    DressButton(m_searchButton, _("Search (Ctrl+F)"));
    m_typeButton.set_child(*Gtk::make_managed<Gtk::Label>("Aa")); // comes without an arrow
    m_typeButton.set_popover(m_type);
    DressButton(m_typeButton, _("Type and theme (Ctrl+T)"));
    m_menuButton.set_icon_name("open-menu-symbolic");
    m_menuButton.set_menu_model(MakeMenu());
    m_menuButton.set_primary(true);
    DressButton(m_menuButton, _("Menu (F10)"));
    auto* titles = Gtk::make_managed<Gtk::Box>(Gtk::Orientation::VERTICAL);
    titles->set_valign(Gtk::Align::CENTER);
    for (Gtk::Label* label : {&m_title, &m_subtitle}) {
        label->set_ellipsize(Pango::EllipsizeMode::END);
        label->set_single_line_mode(true);
        titles->append(*label);
    }
    m_title.add_css_class("title");
    m_subtitle.add_css_class("subtitle");
    m_header.set_title_widget(*titles);
    m_header.pack_start(m_panelButton);
    m_header.pack_start(m_backButton);
    m_header.pack_end(m_menuButton);
    m_header.pack_end(m_typeButton);
    m_header.pack_end(m_searchButton);
    set_titlebar(m_header);
    m_type.signal_show().connect([this] { m_type.Show(m_application.Chosen()); });
    m_type.SignalChanged().connect([this](const Settings& chosen) {
        Settings settings = chosen; // the window's own are not the popover's
        settings.width = m_application.Chosen().width;
        settings.height = m_application.Chosen().height;
        m_application.Choose(settings);
    });
}

void ReaderWindow::BuildBody() {
    m_noticeText.set_wrap(true);
    m_noticeText.set_xalign(0);
    m_noticeText.set_hexpand(true);
    m_goOn.set_label(_("Go On After It"));
    m_goOn.signal_clicked().connect([this] {
        m_pSession->PassGap();
        UpdatePage();
    });
    m_notice.add_child(m_noticeText);
    m_notice.add_child(m_goOn);
    m_notice.set_show_close_button(true);
    m_notice.set_revealed(false);
    m_notice.signal_response().connect([this](int) { m_notice.set_revealed(false); });
    BuildPage();
    m_shelf.SignalChosen().connect([this](const std::string& path) { OpenBook(path); });
    m_shelf.SignalOpen().connect([this] { ChooseFile(); });
    m_views.add(m_shelf, "shelf");
    m_views.add(m_reading, "book");
    m_views.set_vexpand(true);
    m_body.append(m_notice);
    m_body.append(m_views);
    set_child(m_body);
}

void ReaderWindow::BuildPage() {
    m_said.add_css_class("said");
    m_saying.set_child(m_said);
    m_saying.set_transition_type(Gtk::RevealerTransitionType::CROSSFADE);
    m_saying.set_halign(Gtk::Align::CENTER);
    m_saying.set_valign(Gtk::Align::END);
    m_saying.set_can_target(false);
    m_pageOverlay.set_child(m_page);
    m_pageOverlay.add_overlay(m_saying);
    m_column.append(m_pageOverlay);
    m_column.append(m_place);
    m_panelSlide.set_child(m_panel);
    m_panelSlide.set_transition_type(Gtk::RevealerTransitionType::NONE);
    m_panelSlide.set_halign(Gtk::Align::START);
    m_panelSlide.set_visible(false);
    m_reading.set_child(m_column);
    m_reading.add_overlay(m_panelSlide);
    m_page.SignalTurn().connect([this](bool forward) { Turn(forward); });
    m_page.SignalCorner().connect([this] { ToggleBookmark(); });
    m_page.SignalResized().connect([this] { m_place.Update(); });
    m_page.SignalDrawn().connect([this] { PrepareLater(); });
    m_place.SignalGoTo().connect(
        [this](double fraction) { Jumped(m_pSession->GoToFraction(fraction)); });
    m_place.SignalDropped().connect([this] { SavePlace(); });
    m_place.SignalDragged().connect([this](double fraction, bool first) {
        if (first)
            m_pSession->BeginDrag();
        if (m_pSession->DragTo(fraction))
            UpdatePage();
    });
}

void ReaderWindow::AddCommand(const char* name, void (ReaderWindow::*command)()) {
    add_action(name, sigc::mem_fun(*this, command));
}

void ReaderWindow::AddCommands() {
    AddCommand("open", &ReaderWindow::ChooseFile);
    AddCommand("shelf", &ReaderWindow::ShowShelf);
    AddCommand("panel", &ReaderWindow::TogglePanel);
    AddCommand("search", &ReaderWindow::OpenSearch);
    AddCommand("next-hit", &ReaderWindow::NextHit);
    AddCommand("previous-hit", &ReaderWindow::PreviousHit);
    AddCommand("goto", &ReaderWindow::AskWhere);
    AddCommand("back", &ReaderWindow::GoBack);
    AddCommand("forward", &ReaderWindow::GoForward);
    AddCommand("bookmark", &ReaderWindow::ToggleBookmark);
    AddCommand("note", &ReaderWindow::WriteNote);
    AddCommand("larger", &ReaderWindow::Larger);
    AddCommand("smaller", &ReaderWindow::Smaller);
    AddCommand("normal-size", &ReaderWindow::NormalSize);
    AddCommand("type", &ReaderWindow::ShowType);
    AddCommand("fullscreen", &ReaderWindow::ToggleFullscreen);
    AddCommand("about", &ReaderWindow::ShowAbout);
    add_action("close", [this] { close(); });
}

void ReaderWindow::ListenToPanel() {
    m_panel.SignalChapter().connect(
        [this](std::size_t index) { Jumped(m_pSession->GoToChapter(index)); });
    m_panel.SignalPlace().connect([this](const Place& place) { Jumped(m_pSession->GoTo(place)); });
    m_panel.SignalHit().connect(
        [this](std::size_t index) { FollowHit([&] { return m_pSession->FollowHit(index); }); });
    m_panel.SignalNextHit().connect([this](bool forward) {
        if (forward)
            NextHit();
        else
            PreviousHit();
    });
    m_panel.SignalRemoveBookmark().connect([this](const Place& place) {
        m_pSession->RemoveBookmark(place);
        MarksChanged();
    });
    m_panel.SignalRemoveNote().connect([this](const Place& place) {
        m_pSession->RemoveNote(place);
        MarksChanged();
    });
    m_panel.SignalSearched().connect([this] { m_page.RefreshMarks(); });
    m_panel.SignalLeave().connect([this] {
        m_panelButton.set_active(false);
        m_page.grab_focus();
    });
}

// Keys are taken before the widget that has the focus sees them, or lists and the place bar would
// keep the arrows; text entries keep theirs, and a list its own way up and down.
void ReaderWindow::ListenToKeys() {
    const auto keys = Gtk::EventControllerKey::create();
    keys->set_propagation_phase(Gtk::PropagationPhase::CAPTURE);
    keys->signal_key_pressed().connect(
        [this, pKeys = keys.get()](guint key, guint, Gdk::ModifierType state) {
            m_nKeyTime = pKeys->get_current_event_time();
            m_nKeyCpu = ProcessTime();
            return OnKey(key, state);
        },
        false);
    add_controller(keys);
}

bool ReaderWindow::OnKey(guint key, Gdk::ModifierType state) {
    const auto commands = Gdk::ModifierType::CONTROL_MASK | Gdk::ModifierType::ALT_MASK |
                          Gdk::ModifierType::SUPER_MASK;
    Gtk::Widget* const focus = get_focus();
    const bool writing = dynamic_cast<Gtk::Editable*>(focus) != nullptr ||
                         dynamic_cast<Gtk::TextView*>(focus) != nullptr;
    if (m_pSession == nullptr || writing || (state & commands) != Gdk::ModifierType() ||
        IsWithin(focus, GTK_TYPE_POPOVER))
        return false;
    const bool shift = (state & Gdk::ModifierType::SHIFT_MASK) != Gdk::ModifierType();
    const bool list = IsWithin(focus, GTK_TYPE_LIST_VIEW);
    const bool button = IsWithin(focus, GTK_TYPE_BUTTON);
    if (key == GDK_KEY_Right || key == GDK_KEY_KP_Right)
        Turn(true);
    else if (key == GDK_KEY_Left || key == GDK_KEY_KP_Left)
        Turn(false);
    else if (list)
        return false;
    else if (key == GDK_KEY_Page_Down || key == GDK_KEY_KP_Page_Down)
        Turn(true);
    else if (key == GDK_KEY_Page_Up || key == GDK_KEY_KP_Page_Up)
        Turn(false);
    else if (key == GDK_KEY_space && !button)
        Turn(!shift);
    else if (key == GDK_KEY_Home || key == GDK_KEY_KP_Home)
        GoToBegin();
    else if (key == GDK_KEY_End || key == GDK_KEY_KP_End)
        GoToEnd();
    else if (key == GDK_KEY_Escape && m_panelButton.get_active())
        TogglePanel();
    else
        return false;
    return true;
}

void ReaderWindow::ListenToFiles() {
    const auto drop = Gtk::DropTarget::create(GDK_TYPE_FILE_LIST, Gdk::DragAction::COPY);
    drop->signal_drop().connect(
        [this](const Glib::ValueBase& value, double, double) {
            auto* const list = static_cast<GdkFileList*>(g_value_get_boxed(value.gobj()));
            GSList* const files = gdk_file_list_get_files(list);
            for (const GSList* item = files; item != nullptr; item = item->next) {
                const auto file = Glib::wrap(static_cast<GFile*>(item->data), true);
                m_application.OpenBook(file->get_path(), this);
            }
            g_slist_free(files);
            return true;
        },
        false);
    add_controller(drop);
}

void ReaderWindow::ListenToWindow() {
    signal_close_request().connect([this] { return OnClose(); }, false);
    property_is_active().signal_changed().connect([this] {
        if (!is_active())
            SavePlace();
    });
    signal_realize().connect([this] {
        get_surface()->signal_layout().connect([this](int, int) { FitPanel(); });
        if (IsTracing())
            g_signal_connect_swapped(get_frame_clock()->gobj(), "after-paint",
                                     G_CALLBACK(+[](ReaderWindow* self) { self->TraceFrame(); }),
                                     this);
    });
}

void ReaderWindow::ChooseFile() {
    m_pFiles = Gtk::FileChooserNative::create(_("Open a Book"), *this,
                                              Gtk::FileChooser::Action::OPEN, _("Open"), "");
    const auto books = Gtk::FileFilter::create();
    books->set_name(_("UMD books"));
    books->add_suffix("umd");
    const auto all = Gtk::FileFilter::create();
    all->set_name(_("All files"));
    all->add_pattern("*");
    m_pFiles->add_filter(books);
    m_pFiles->add_filter(all);
    m_pFiles->signal_response().connect([this](int response) {
        if (response == Gtk::ResponseType::ACCEPT)
            m_application.OpenBook(m_pFiles->get_file()->get_path(), this);
    });
    m_pFiles->show();
}

void ReaderWindow::ShowAbout() {
    auto* const about = new Gtk::AboutDialog;
    about->set_transient_for(*this);
    about->set_modal(true);
    about->set_program_name(_("UMD Reader"));
    about->set_version(UMDREAD_VERSION);
    about->set_logo_icon_name(Application::id);
    about->set_comments(_("A window to read UMD books in."));
    about->set_hide_on_close(true);
    about->signal_hide().connect([about] { delete about; });
    about->present();
}

} // namespace umdread
