#pragma once

#include <gtkmm/button.h>
#include <gtkmm/headerbar.h>
#include <gtkmm/scrolledwindow.h>
#include <gtkmm/textview.h>
#include <gtkmm/window.h>
#include <sigc++/signal.h>

namespace umdread {

// Asks for the text of a note. An empty text is that of no note.
class NoteDialog : public Gtk::Window {
public:
    NoteDialog(Gtk::Window& parent, const Glib::ustring& text);

    sigc::signal<void(const std::string& text)>& SignalWritten() { return m_signalWritten; }

private:
    void Listen();
    void Finish();

    Gtk::HeaderBar m_header;
    Gtk::Button m_cancel, m_save;
    Gtk::ScrolledWindow m_scrolled;
    Gtk::TextView m_text;
    sigc::signal<void(const std::string&)> m_signalWritten;
};

} // namespace umdread
