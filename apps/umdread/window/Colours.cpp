#include "Colours.h"

#include <array>

#include <giomm/resource.h>
#include <gtkmm/cssprovider.h>
#include <gtkmm/settings.h>
#include <gtkmm/stylecontext.h>

namespace umdread {

namespace {

Glib::ustring Definition(const char* name, const Gdk::RGBA& colour) {
    return Glib::ustring("@define-color ") + name + " " + colour.to_string() + ";\n";
}

Glib::ustring StyleSheet(const Colours& colours) {
    static const Glib::RefPtr<const Glib::Bytes> style = Gio::Resource::lookup_data_global(
        "/org/umdformat/umdread/style.css", Gio::Resource::LookupFlags::NONE);
    gsize size = 0;
    const auto* text = static_cast<const char*>(style->get_data(size));
    return Definition("paper", colours.paper) + Definition("ink", colours.ink) +
           Definition("chrome", colours.chrome) + Definition("border", colours.border) +
           Definition("accent", colours.accent) + std::string(text, size);
}

} // namespace

const Colours& ColoursOf(Theme theme) {
    static const std::array<Colours, 3> all = {
        Colours{Gdk::RGBA("#fcfbf8"), Gdk::RGBA("#22211f"), Gdk::RGBA("#f2f0eb"),
                Gdk::RGBA("#dedad1"), Gdk::RGBA("#a4512a")},
        Colours{Gdk::RGBA("#f6ecd6"), Gdk::RGBA("#463522"), Gdk::RGBA("#ecdfc4"),
                Gdk::RGBA("#d8c7a3"), Gdk::RGBA("#9a4f1d")},
        Colours{Gdk::RGBA("#1b1a19"), Gdk::RGBA("#c9c3b8"), Gdk::RGBA("#252423"),
                Gdk::RGBA("#383633"), Gdk::RGBA("#d99a63")}};
    return all.at(static_cast<std::size_t>(theme));
}

void ApplyTheme(Theme theme) {
    static const Glib::RefPtr<Gtk::CssProvider> provider = [] {
        auto made = Gtk::CssProvider::create();
        Gtk::StyleContext::add_provider_for_display(Gdk::Display::get_default(), made,
                                                    GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
        return made;
    }();
    Gtk::Settings::get_default()->property_gtk_application_prefer_dark_theme() =
        theme == Theme::Dark;
    provider->load_from_data(StyleSheet(ColoursOf(theme)));
}

} // namespace umdread
