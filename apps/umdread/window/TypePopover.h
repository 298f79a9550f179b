#pragma once

#include <array>
#include <vector>

#include <gtkmm/adjustment.h>
#include <gtkmm/dropdown.h>
#include <gtkmm/grid.h>
#include <gtkmm/popover.h>
#include <gtkmm/scale.h>
#include <gtkmm/spinbutton.h>
#include <gtkmm/switch.h>
#include <gtkmm/togglebutton.h>
#include <sigc++/signal.h>

#include "session/Settings.h"

namespace umdread {

// Theme, letters and lines; what is chosen is seen on the page at once.
class TypePopover : public Gtk::Popover {
public:
    TypePopover();

    void Show(const Settings& settings);
    sigc::signal<void(const Settings&)>& SignalChanged() { return m_signalChanged; }

private:
    using Choice = std::array<Gtk::ToggleButton, 3>;

    void AddRow(int row, const Glib::ustring& name, Gtk::Widget& control);
    Gtk::Widget& MakeThemes();
    Gtk::Widget& MakeChoice(Choice& choice, const std::array<Glib::ustring, 3>& names);
    void FillFamilies();
    void Listen();
    void Changed();

    Settings m_settings;
    bool m_bShowing = false;
    std::vector<Glib::ustring> m_families; // as in the list, after the default
    Gtk::Grid m_grid;
    Choice m_themes, m_margins;
    Gtk::SpinButton m_size, m_indent;
    Gtk::DropDown m_family;
    Gtk::Scale m_spacing;
    Gtk::Switch m_justified;
    sigc::signal<void(const Settings&)> m_signalChanged;
};

} // namespace umdread
