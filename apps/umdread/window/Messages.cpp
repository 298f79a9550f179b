#include "Messages.h"

#include <cmath>
#include <new>
#include <string>

#include <glibmm/convert.h>
#include <glibmm/i18n.h>
#include <glibmm/miscutils.h>

namespace umdread {

namespace {

// What hosts say of a book, as far as it has no numbers in it, for the translators to find.
[[maybe_unused]] constexpr const char* reasons[] = {
    N_("not a UMD book"),
    N_("damaged, or not a text book: no text found in it"),
    N_("the file is empty"),
    N_("not a regular file"),
    N_("No such file or directory"),
    N_("Permission denied"),
    N_("Is a directory"),
    N_("damaged: the length of its text is missing"),
    N_("out of memory"),
};

} // namespace

Glib::ustring WhyNotOpened(const std::string& path, const std::exception& error) {
    std::string reason = error.what();
    if (reason.compare(0, path.size() + 2, path + ": ") == 0)
        reason.erase(0, path.size() + 2);
    if (dynamic_cast<const std::bad_alloc*>(&error) != nullptr)
        reason = "out of memory";
    return Glib::ustring::compose(_("“%1” cannot be opened: %2."),
                                  Glib::filename_display_basename(path), _(reason.c_str()));
}

Glib::ustring Percent(double fraction) {
    return Glib::ustring::compose(_("%1 %%"), std::to_string(std::lround(100 * fraction)));
}

} // namespace umdread
