// How the window is put together.
#include <gdkmm/frameclock.h>
#include <giomm/propertyaction.h>
#include <glibmm/i18n.h>
#include <gtkmm/dialog.h>
#include <gtkmm/droptarget.h>
#include <gtkmm/editable.h>
#include <gtkmm/eventcontrollerkey.h>
#include <gtkmm/filefilter.h>
#include <gtkmm/text.h>
#include <gtkmm/textview.h>

#include "window/Application.h"
#include "window/Messages.h"
#include "window/ReaderWindow.h"
#include "window/Trace.h"

namespace umdread {

namespace {

void DressButton(Gtk::Widget& button, const Glib::ustring& tip) {
    button.set_tooltip_text(tip);
    button.set_focus_on_click(false);
    SetAccessibleName(button, tip);
}

Glib::RefPtr<Gio::Menu> MakeMenu() {
    const auto books = Gio::Menu::create();
    books->append(_("Open…"), "win.open");
    books->append(_("Bookshelf"), "book.shelf");
    books->append(_("New Window"), "app.new-window");
    const auto page = Gio::Menu::create();
    page->append(_("Bookmark"), "book.bookmark");
    page->append(_("Note…"), "book.note");
    page->append(_("Go To…"), "book.goto");
    page->append(_("Full Screen"), "win.fullscreen");
    const auto help = Gio::Menu::create();
    help->append(_("Keyboard Shortcuts"), "win.show-help-overlay");
    help->append(_("About"), "win.about");
    auto menu = Gio::Menu::create();
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
    m_backButton.set_icon_name("go-previous-symbolic");
    m_backButton.set_action_name("book.back");
    DressButton(m_backButton, _("Back to where you were (Alt+Left)"));
    m_searchButton.set_icon_name("system-search-symbolic");
    m_searchButton.set_action_name("book.search");
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
    m_type.SignalChanged().connect(
        [this](const Settings& settings) { m_application.Choose(settings); });
    for (Gtk::Popover* popover : {static_cast<Gtk::Popover*>(&m_type), m_menuButton.get_popover()})
        popover->signal_closed().connect([this] { m_page.grab_focus(); });
}

void ReaderWindow::BuildBody() {
    m_noticeText.set_wrap(true);
    m_noticeText.set_xalign(0);
    m_noticeText.set_hexpand(true);
    m_goOn.set_label(_("Go On After It"));
    m_goOn.signal_clicked().connect([this] { PassGap(); });
    m_notice.add_child(m_noticeText);
    m_notice.add_child(m_goOn);
    m_notice.set_show_close_button(true);
    m_notice.set_revealed(false);
    m_notice.signal_response().connect([this](int) { m_notice.set_revealed(false); });
    BuildPage();
    m_shelf.SignalChosen().connect(
        [this](const std::string& path) { m_application.OpenBook(path, this); });
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
}

void ReaderWindow::AddCommands() {
    add_action("open", [this] { ChooseFile(); });
    add_action("about", [this] { ShowAbout(); });
    add_action("close", [this] { close(); });
    add_action("larger", [this] { SetSize(+1); });
    add_action("smaller", [this] { SetSize(-1); });
    add_action("normal-size", [this] { SetSize(0); });
    add_action(Gio::PropertyAction::create("fullscreen", property_fullscreened()));
    m_pCommands->add_action("shelf", [this] { ShowShelf(); });
    m_pCommands->add_action(Gio::PropertyAction::create("panel", m_panelButton.property_active()));
    m_pCommands->add_action("search", [this] { OpenSearch(); });
    m_pCommands->add_action("next-hit", [this] { m_panel.NextHit(true); });
    m_pCommands->add_action("previous-hit", [this] { m_panel.NextHit(false); });
    m_pCommands->add_action("goto", [this] { m_place.AskWhere(); });
    m_pBack = m_pCommands->add_action("back", [this] { Jumped(m_pSession->GoBack()); });
    m_pForward = m_pCommands->add_action("forward", [this] { Jumped(m_pSession->GoForward()); });
    m_pCommands->add_action("bookmark", [this] { ToggleBookmark(); });
    m_pCommands->add_action("note", [this] { WriteNote(); });
    m_pCommands->add_action("type", [this] { m_typeButton.popup(); });
}

void ReaderWindow::ListenToPanel() {
    m_panel.SignalJumped().connect([this](bool shown) { Jumped(shown); });
    m_panel.SignalFollowed().connect([this] { UpdatePage(); });
    m_panel.SignalMarked().connect([this] { MarksChanged(); });
    m_panel.SignalSearched().connect([this] { m_page.RefreshMarks(); });
    m_panel.SignalLeave().connect([this] { m_panelButton.set_active(false); });
    m_panelButton.signal_toggled().connect([this] {
        FitPanel();
        if (!m_panelButton.get_active())
            m_page.grab_focus();
    });
}

void ReaderWindow::ListenToPlace() {
    m_page.SignalTurn().connect([this](bool forward) { Turn(forward); });
    m_page.SignalCorner().connect([this] { ToggleBookmark(); });
    m_page.SignalResized().connect([this] { m_place.Update(); });
    m_page.SignalDrawn().connect([this] {
        m_bDrawn = true;
        PrepareLater();
    });
    m_place.SignalJumped().connect([this](bool shown) { Jumped(shown); });
    m_place.SignalDragged().connect([this] { UpdatePage(); });
    m_place.SignalDropped().connect([this] { SavePlace(); });
    m_place.SignalLeave().connect([this] { m_page.grab_focus(); });
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
    const bool right = key == GDK_KEY_Right || key == GDK_KEY_KP_Right;
    const bool left = key == GDK_KEY_Left || key == GDK_KEY_KP_Left;
    if (list && !right && !left)
        return false;
    if (right || key == GDK_KEY_Page_Down || key == GDK_KEY_KP_Page_Down)
        Turn(true);
    else if (left || key == GDK_KEY_Page_Up || key == GDK_KEY_KP_Page_Up)
        Turn(false);
    else if (key == GDK_KEY_space && !button)
        Turn(!shift);
    else if (key == GDK_KEY_Home || key == GDK_KEY_KP_Home)
        Jumped(m_pSession->GoToBegin());
    else if (key == GDK_KEY_End || key == GDK_KEY_KP_End)
        Jumped(m_pSession->GoToEnd());
    else if (key == GDK_KEY_Escape && m_panelButton.get_active())
        m_panelButton.set_active(false);
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
    if (m_pSession != nullptr)
        m_pFiles->set_current_folder(Gio::File::create_for_path(BookPath())->get_parent());
    m_pFiles->signal_response().connect([this](int response) {
        if (response == Gtk::ResponseType::ACCEPT)
            m_application.OpenBook(m_pFiles->get_file()->get_path(), this);
    });
    m_pFiles->show();
}

void ReaderWindow::ShowAbout() {
    gtk_show_about_dialog(GTK_WINDOW(gobj()), "program-name", _("UMD Reader"), "version",
                          UMDREAD_VERSION, "logo-icon-name", Application::kId, "comments",
                          _("A window to read UMD books in."), "license-type", GTK_LICENSE_MIT_X11,
                          nullptr);
}

} // namespace umdread
