#pragma once

#include <gtkmm/box.h>
#include <gtkmm/entry.h>
#include <gtkmm/label.h>
#include <gtkmm/menubutton.h>
#include <gtkmm/popover.h>
#include <gtkmm/scale.h>
#include <sigc++/signal.h>

#include "session/Session.h"

namespace umdread {

// How far the book is read, with marks where chapters begin; dragging it or typing a percentage
// goes elsewhere.
class PlaceBar : public Gtk::Box {
public:
    PlaceBar();
    ~PlaceBar() override { m_dragEnd.disconnect(); }

    void SetSession(Session* session);
    void Update();
    void AskWhere(); // opens the entry for a percentage

    // What the session was told to do.
    sigc::signal<void(bool shown)>& SignalJumped() { return m_signalJumped; }
    sigc::signal<void()>& SignalDragged() { return m_signalDragged; }
    sigc::signal<void()>& SignalDropped() { return m_signalDropped; } // the drag has ended
    sigc::signal<void()>& SignalLeave() { return m_signalLeave; }     // back to the page

private:
    void Drag(double fraction);
    void MakeGoTo();
    void Entered();

    Session* m_pSession = nullptr;
    Gtk::Scale m_scale;
    Gtk::MenuButton m_button;
    Gtk::Label m_percent; // on it
    Gtk::Popover m_goTo;
    Gtk::Entry m_entry;
    sigc::connection m_dragEnd; // pending as long as a drag goes on
    sigc::signal<void(bool)> m_signalJumped;
    sigc::signal<void()> m_signalDragged, m_signalDropped, m_signalLeave;
};

} // namespace umdread
