#include "Messages.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <new>
#include <string>

#include <glibmm/convert.h>
#include <glibmm/i18n.h>
#include <glibmm/miscutils.h>

namespace umdread {

namespace {

// What hosts say of a book, for the translators to find; numbers in it are %1 and %2.
[[maybe_unused]] constexpr const char* kReasons[] = {
    N_("not a UMD book"),
    N_("damaged, or not a text book: no text found in it"),
    N_("damaged: chunk %1 of %2 cannot be read"),
    N_("damaged: it declares %1 bytes of text but holds none"),
    N_("damaged: a text of %1 bytes cannot be"),
    N_("damaged: the length of its text is missing"),
    N_("the file is empty"),
    N_("not a regular file"),
    N_("No such file or directory"),
    N_("Permission denied"),
    N_("Is a directory"),
    N_("out of memory"),
};

Glib::ustring Translated(const std::string& reason) {
    std::string pattern;
    std::array<std::string, 2> numbers;
    std::size_t count = 0;
    for (auto at = reason.begin(); at != reason.end();) {
        const auto end = std::find_if_not(at, reason.end(),
                                          [](char c) { return c == '-' || g_ascii_isdigit(c); });
        if (end == at || count == numbers.size()) {
            pattern += *at++;
            continue;
        }
        numbers.at(count++).assign(at, end);
        pattern += "%" + std::to_string(count);
        at = end;
    }
    return Glib::ustring::compose(_(pattern.c_str()), numbers[0], numbers[1]);
}

} // namespace

Glib::ustring Valid(const std::string& text) {
    return Glib::ustring(text).make_valid();
}

void SetAccessibleName(Gtk::Widget& widget, const Glib::ustring& name) {
    gtk_accessible_update_property(GTK_ACCESSIBLE(widget.gobj()), GTK_ACCESSIBLE_PROPERTY_LABEL,
                                   name.c_str(), -1);
}

Glib::ustring WhyNotOpened(const std::string& path, const std::exception& error) {
    std::string reason = error.what();
    if (reason.compare(0, path.size() + 2, path + ": ") == 0)
        reason.erase(0, path.size() + 2);
    if (dynamic_cast<const std::bad_alloc*>(&error) != nullptr)
        reason = "out of memory";
    return Glib::ustring::compose(_("“%1” cannot be opened: %2."),
                                  Glib::filename_display_basename(path), Translated(reason));
}

Glib::ustring Percent(double fraction) {
    return Glib::ustring::compose(_("%1 %%"), std::to_string(std::lround(100 * fraction)));
}

} // namespace umdread
