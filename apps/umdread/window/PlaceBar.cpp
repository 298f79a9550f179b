#include "PlaceBar.h"

#include <algorithm>
#include <cmath>
#include <string>

#include <glibmm/i18n.h>
#include <glibmm/main.h>
#include <gtkmm/adjustment.h>
#include <gtkmm/label.h>

#include "window/Messages.h"

namespace umdread {

namespace {

constexpr std::size_t kMostMarks = 200;  // more would stand closer than a pixel
constexpr unsigned int kDragPause = 600; // milliseconds that end a drag

} // namespace

PlaceBar::PlaceBar() : m_scale(Gtk::Adjustment::create(0, 0, 1, 0.01, 0.1)) {
    add_css_class("place");
    m_scale.set_hexpand(true);
    m_scale.set_draw_value(false);
    m_scale.set_focus_on_click(false);
    m_scale.signal_change_value().connect(
        [this](Gtk::ScrollType, double value) {
            Drag(std::clamp(value, 0.0, 1.0));
            return false;
        },
        false);
    SetAccessibleName(m_scale, _("Place in the book"));
    m_button.set_child(m_percent); // a label of its own comes without an arrow
    m_button.set_has_frame(false);
    m_button.set_focus_on_click(false);
    m_button.set_direction(Gtk::ArrowType::UP);
    m_button.set_tooltip_text(_("Go to (Ctrl+G)"));
    m_button.add_css_class("percent");
    m_percent.set_width_chars(6); // of the widest, so that the scale keeps its length
    MakeGoTo();
    append(m_scale);
    append(m_button);
}

void PlaceBar::MakeGoTo() {
    auto* row = Gtk::make_managed<Gtk::Box>(Gtk::Orientation::HORIZONTAL, 8);
    auto* label = Gtk::make_managed<Gtk::Label>(_("Go to"));
    label->set_mnemonic_widget(m_entry);
    m_entry.set_width_chars(6);
    m_entry.set_max_width_chars(6);
    m_entry.set_alignment(1);
    m_entry.signal_activate().connect([this] { Entered(); });
    row->append(*label);
    row->append(m_entry);
    row->append(*Gtk::make_managed<Gtk::Label>("%"));
    m_goTo.set_child(*row);
    m_goTo.signal_show().connect([this] {
        m_entry.set_text(std::to_string(std::lround(100 * m_pSession->Fraction())));
        m_entry.select_region(0, -1);
        m_entry.grab_focus();
    });
    m_goTo.signal_closed().connect([this] { m_signalLeave.emit(); });
    m_button.set_popover(m_goTo);
}

void PlaceBar::SetSession(Session* session) {
    m_pSession = session;
    m_scale.clear_marks();
    if (session == nullptr)
        return;
    if (session->Chapters().size() <= kMostMarks) {
        for (const umdhost::Chapter& chapter : session->Chapters())
            m_scale.add_mark(session->FractionOf(*chapter.place), Gtk::PositionType::BOTTOM, "");
    }
    Update();
}

void PlaceBar::Update() {
    const double fraction = m_pSession->Fraction();
    if (!m_dragEnd.connected())
        m_scale.set_value(fraction);
    m_percent.set_text(Percent(fraction));
}

void PlaceBar::AskWhere() {
    m_goTo.popup();
}

// A drag is many changes; all but the first belong to the same jump.
void PlaceBar::Drag(double fraction) {
    if (!m_dragEnd.connected())
        m_pSession->BeginDrag();
    m_dragEnd.disconnect();
    m_dragEnd = Glib::signal_timeout().connect(
        [this] {
            m_signalDropped.emit();
            return false;
        },
        kDragPause);
    if (m_pSession->DragTo(fraction))
        m_signalDragged.emit();
}

void PlaceBar::Entered() {
    char* end = nullptr;
    const Glib::ustring text = m_entry.get_text();
    const double percent = g_ascii_strtod(text.c_str(), &end);
    m_goTo.popdown();
    if (end != text.c_str() && percent >= 0 && percent <= 100)
        m_signalJumped.emit(m_pSession->GoToFraction(percent / 100));
}

} // namespace umdread
