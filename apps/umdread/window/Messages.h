#pragma once

#include <exception>
#include <string>

#include <glibmm/ustring.h>
#include <gtkmm/widget.h>

namespace umdread {

// A book's or a file's text, any bytes, as text that can be shown.
Glib::ustring Valid(const std::string& text);

// Names a control for those who cannot see it.
void SetAccessibleName(Gtk::Widget& widget, const Glib::ustring& name);

// Says in the reader's language why a book cannot be opened.
Glib::ustring WhyNotOpened(const std::string& path, const std::exception& error);

// "37 %", in the reader's language.
Glib::ustring Percent(double fraction);

} // namespace umdread
