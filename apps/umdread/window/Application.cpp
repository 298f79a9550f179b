#include "Application.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include <glib-unix.h>
#include <glibmm/i18n.h>
#include <glibmm/main.h>
#include <glibmm/miscutils.h>
#include <gtkmm/icontheme.h>

#include "window/Colours.h"
#include "window/ReaderWindow.h"

namespace umdread {

namespace {

// Without a bus there is nobody to be the only one for.
Gio::Application::Flags UniqueWhereThereIsABus() {
    const auto flags = Gio::Application::Flags::HANDLES_OPEN;
    const bool hasBus = !Glib::getenv("DBUS_SESSION_BUS_ADDRESS").empty() ||
                        std::filesystem::exists(Glib::get_user_runtime_dir() + "/bus");
    return hasBus ? flags : flags | Gio::Application::Flags::NON_UNIQUE;
}

void AddOptions(Gio::Application& application) {
    application.set_option_context_parameter_string(_("[BOOK…]"));
    application.add_main_option_entry(Gio::Application::OptionType::BOOL, "version", 'v',
                                      _("Say the version and end"));
    application.signal_handle_local_options().connect(
        [](const Glib::RefPtr<Glib::VariantDict>& options) {
            if (!options->contains("version"))
                return -1; // goes on
            std::puts("umdread " UMDREAD_VERSION);
            return 0;
        },
        false);
}

} // namespace

int RunWithoutDisplay(int argc, char** argv) {
    const auto application =
        Gio::Application::create(Application::kId, Gio::Application::Flags::HANDLES_OPEN |
                                                       Gio::Application::Flags::NON_UNIQUE);
    AddOptions(*application);
    bool refused = false;
    const auto refuse = [&refused] {
        refused = true;
        std::fputs("umdread: no display to open a window on\n", stderr);
    };
    application->signal_activate().connect(refuse);
    application->signal_open().connect(sigc::hide(sigc::hide(refuse)));
    const int status = application->run(argc, argv);
    return refused ? EXIT_FAILURE : status;
}

std::string ShareFolder() {
    std::error_code error;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
    return (program.parent_path().parent_path() / "share").string();
}

Application::Application()
    : Gtk::Application(kId, UniqueWhereThereIsABus()),
      m_sFolder(Glib::build_filename(Glib::get_user_config_dir(), "umdread")),
      m_settings(LoadSettings(m_sFolder)), m_shelf(m_sFolder) {
    AddOptions(*this);
}

Application::~Application() = default;

void Application::on_startup() {
    Gtk::Application::on_startup();
    Gtk::IconTheme::get_for_display(Gdk::Display::get_default())
        ->add_search_path(ShareFolder() + "/icons");
    Gtk::Window::set_default_icon_name(kId);
    ApplyTheme(m_settings.theme);
    add_action("quit", [this] { CloseAll(); });
    add_action("new-window", [this] { NewWindow().ShowShelf(); });
    SetKeys();
    for (const int signal : {SIGTERM, SIGINT, SIGHUP})
        g_unix_signal_add(
            signal,
            [](gpointer self) -> gboolean {
                static_cast<Application*>(self)->CloseAll();
                return G_SOURCE_CONTINUE;
            },
            this);
    property_register_session() = true; // the session's end then asks first
    signal_query_end().connect([this] {
        for (const auto& window : m_windows)
            window->SavePlace();
    });
}

void Application::SetKeys() {
    const std::vector<std::pair<const char*, std::vector<Glib::ustring>>> keys = {
        {"app.quit", {"<Primary>q"}},
        {"app.new-window", {"<Primary><Shift>n"}},
        {"win.open", {"<Primary>o"}},
        {"book.shelf", {"<Primary>l"}},
        {"win.close", {"<Primary>w"}},
        {"book.panel", {"F9"}},
        {"book.search", {"<Primary>f"}},
        {"book.next-hit", {"F3"}},
        {"book.previous-hit", {"<Shift>F3"}},
        {"book.goto", {"<Primary>g"}},
        {"book.back", {"<Alt>Left"}},
        {"book.forward", {"<Alt>Right"}},
        {"book.bookmark", {"<Primary>d"}},
        {"book.note", {"<Primary>n"}},
        {"win.larger", {"<Primary>plus", "<Primary>equal", "<Primary>KP_Add"}},
        {"win.smaller", {"<Primary>minus", "<Primary>KP_Subtract"}},
        {"win.normal-size", {"<Primary>0", "<Primary>KP_0"}},
        {"book.type", {"<Primary>t"}},
        {"win.fullscreen", {"F11"}},
        {"win.show-help-overlay", {"<Primary>question", "<Primary>slash"}},
    };
    for (const auto& [action, accelerators] : keys)
        set_accels_for_action(action, accelerators);
}

void Application::on_activate() {
    NewWindow().ShowShelf();
}

void Application::on_open(const type_vec_files& files, const Glib::ustring&) {
    for (const auto& file : files)
        OpenBook(file->get_path(), nullptr);
}

void Application::OpenBook(const std::string& path, ReaderWindow* window) {
    const auto open = std::find_if(m_windows.begin(), m_windows.end(),
                                   [&](const auto& other) { return other->BookPath() == path; });
    if (open != m_windows.end())
        return (*open)->present();
    if (window == nullptr || !window->BookPath().empty())
        window = &NewWindow();
    window->OpenBook(path);
}

ReaderWindow& Application::NewWindow() {
    m_windows.push_back(std::make_unique<ReaderWindow>(*this));
    add_window(*m_windows.back());
    m_windows.back()->present();
    return *m_windows.back();
}

// The window is still at work when it is removed, so it goes when the main loop is next idle.
void Application::on_window_removed(Gtk::Window* window) {
    Gtk::Application::on_window_removed(window);
    const auto closed = std::find_if(m_windows.begin(), m_windows.end(),
                                     [&](const auto& other) { return other.get() == window; });
    if (closed == m_windows.end())
        return;
    const std::shared_ptr<ReaderWindow> last(closed->release());
    m_windows.erase(closed);
    Glib::signal_idle().connect([last] { return false; });
}

void Application::CloseAll() {
    std::vector<ReaderWindow*> windows;
    for (const auto& window : m_windows)
        windows.push_back(window.get());
    for (ReaderWindow* window : windows)
        window->close();
}

void Application::Choose(const Settings& settings) {
    const bool otherTheme = settings.theme != m_settings.theme;
    m_settings = settings;
    m_settings.KeepInRange();
    SaveSettings(m_sFolder, m_settings);
    if (otherTheme)
        ApplyTheme(m_settings.theme);
    for (const auto& window : m_windows)
        window->ApplySettings();
}

} // namespace umdread
