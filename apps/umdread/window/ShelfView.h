#pragma once

#include <gtkmm/box.h>
#include <gtkmm/flowbox.h>
#include <gtkmm/label.h>
#include <gtkmm/scrolledwindow.h>
#include <gtkmm/stack.h>
#include <sigc++/signal.h>

#include "session/Shelf.h"

namespace umdread {

// The books read last, each with a cover that is drawn from its title.
class ShelfView : public Gtk::Stack {
public:
    ShelfView();

    void Show(const std::vector<ShelvedBook>& books);

    sigc::signal<void(const std::string& path)>& SignalChosen() { return m_signalChosen; }
    sigc::signal<void()>& SignalOpen() { return m_signalOpen; }

private:
    Gtk::Widget* MakeEmpty();
    Gtk::Widget* MakeCard(const ShelvedBook& book);

    std::vector<ShelvedBook> m_books;
    Gtk::ScrolledWindow m_scrolled;
    Gtk::FlowBox m_cards;
    sigc::signal<void(const std::string&)> m_signalChosen;
    sigc::signal<void()> m_signalOpen;
};

} // namespace umdread
