#pragma once

#include <memory>
#include <string>
#include <vector>

#include <gtkmm/application.h>

#include "session/Settings.h"
#include "session/Shelf.h"

namespace umdread {

class ReaderWindow;

// Where icons and translations are, beside the program as it is installed and as it is built.
std::string ShareFolder();

// Answers --help and --version, for which Gtk::Application needs a display; refuses all else.
int RunWithoutDisplay(int argc, char** argv);

// All windows of a user, in one process; what they share.
class Application : public Gtk::Application {
public:
    static constexpr char kId[] = "org.umdformat.umdread";

    Application();
    ~Application() override;

    const Settings& Chosen() const { return m_settings; }
    void Choose(const Settings& settings); // in all windows
    const Shelf& Books() const { return m_shelf; }

    // Opens a book in `window` when that shows none, else in a window of its own. One that is open
    // already is brought to the front.
    void OpenBook(const std::string& path, ReaderWindow* window);
    ReaderWindow& NewWindow();

protected:
    void on_startup() override;
    void on_activate() override;
    void on_open(const type_vec_files& files, const Glib::ustring& hint) override;
    void on_window_removed(Gtk::Window* window) override;

private:
    void SetKeys();
    void CloseAll();

    std::string m_sFolder; // of the settings and the shelf
    Settings m_settings;
    Shelf m_shelf;
    std::vector<std::unique_ptr<ReaderWindow>> m_windows;
};

} // namespace umdread
