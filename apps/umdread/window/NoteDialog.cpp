#include "NoteDialog.h"

#include <glibmm/i18n.h>
#include <gtkmm/eventcontrollerkey.h>

#include "window/Messages.h"

namespace umdread {

NoteDialog::NoteDialog(Gtk::Window& parent, const Glib::ustring& text)
    : m_cancel(_("Cancel")), m_save(_("Save")) {
    set_transient_for(parent);
    set_modal(true);
    set_title(_("Note"));
    set_default_size(420, 260);
    m_header.set_show_title_buttons(false);
    m_header.pack_start(m_cancel);
    m_header.pack_end(m_save);
    m_save.add_css_class("suggested");
    m_save.set_tooltip_text(_("Save (Ctrl+Enter)"));
    set_titlebar(m_header);
    m_text.set_wrap_mode(Gtk::WrapMode::WORD_CHAR);
    m_text.set_accepts_tab(false);
    m_text.add_css_class("note");
    m_text.get_buffer()->set_text(text);
    SetAccessibleName(m_text, _("Note"));
    m_scrolled.set_child(m_text);
    set_child(m_scrolled);
    set_focus(m_text);
    Listen();
}

void NoteDialog::Listen() {
    m_cancel.signal_clicked().connect([this] { close(); });
    m_save.signal_clicked().connect([this] { Finish(); });
    const auto keys = Gtk::EventControllerKey::create();
    keys->set_propagation_phase(Gtk::PropagationPhase::CAPTURE);
    keys->signal_key_pressed().connect(
        [this](guint key, guint, Gdk::ModifierType state) {
            const bool control = (state & Gdk::ModifierType::CONTROL_MASK) != Gdk::ModifierType();
            if (key == GDK_KEY_Escape)
                close();
            else if (control && (key == GDK_KEY_Return || key == GDK_KEY_KP_Enter))
                Finish();
            else
                return false;
            return true;
        },
        false);
    add_controller(keys);
}

void NoteDialog::Finish() {
    const Glib::ustring text = m_text.get_buffer()->get_text();
    close();
    m_signalWritten.emit(text);
}

} // namespace umdread
