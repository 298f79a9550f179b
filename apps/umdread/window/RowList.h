#pragma once

#include <functional>
#include <optional>
#include <vector>

#include <gtkmm/label.h>
#include <gtkmm/listitem.h>
#include <gtkmm/listview.h>
#include <gtkmm/scrolledwindow.h>
#include <gtkmm/singleselection.h>
#include <gtkmm/stack.h>
#include <gtkmm/stringlist.h>
#include <sigc++/signal.h>

namespace umdread {

// One row: a line in Pango's markup, what stands below it, and what stands at its end.
struct Row {
    Glib::ustring markup;
    Glib::ustring detail;
    Glib::ustring end;
};

// A list that makes only the rows that are seen; asks for each when it is.
class RowList : public Gtk::Stack {
public:
    using RowAt = std::function<Row(unsigned int index)>;

    // `empty` is said while there are no rows; rows that can be removed have a button for it.
    RowList(const Glib::ustring& name, const Glib::ustring& empty, bool removable);

    void SetRows(unsigned int count, RowAt rowAt);
    // More rows than before, which stay as they are.
    void Grow(unsigned int count);
    void Select(std::optional<std::size_t> index);
    void SayEmpty(const Glib::ustring& empty) { m_empty.set_text(empty); }

    sigc::signal<void(unsigned int)>& SignalChosen() { return m_signalChosen; }
    sigc::signal<void(unsigned int)>& SignalRemoved() { return m_signalRemoved; }

private:
    void ScrollToSelected();
    void SetUp(const Glib::RefPtr<Gtk::ListItem>& item, bool removable);
    void Bind(const Glib::RefPtr<Gtk::ListItem>& item);

    Glib::RefPtr<Gtk::StringList> m_pModel; // says only how many rows there are
    Glib::RefPtr<Gtk::SingleSelection> m_pSelection;
    Gtk::Label m_empty;
    Gtk::ScrolledWindow m_scrolled;
    Gtk::ListView m_view;
    RowAt m_rowAt;
    sigc::signal<void(unsigned int)> m_signalChosen;
    sigc::signal<void(unsigned int)> m_signalRemoved;
};

} // namespace umdread
