#pragma once

#include <exception>
#include <string>

#include <glibmm/ustring.h>

namespace umdread {

// Says in the reader's language why a book cannot be opened.
Glib::ustring WhyNotOpened(const std::string& path, const std::exception& error);

// "37 %", in the reader's language.
Glib::ustring Percent(double fraction);

} // namespace umdread
