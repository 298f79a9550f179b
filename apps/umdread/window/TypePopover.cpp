#include "TypePopover.h"

#include <algorithm>

#include <glibmm/i18n.h>
#include <gtkmm/box.h>
#include <gtkmm/label.h>
#include <gtkmm/stringlist.h>

#include "window/Messages.h"

namespace umdread {

namespace {

constexpr std::array<const char*, 3> kThemeStyles = {"light", "sepia", "dark"};

int Chosen(const std::array<Gtk::ToggleButton, 3>& choice) {
    const auto active = std::find_if(choice.begin(), choice.end(),
                                     [](const Gtk::ToggleButton& b) { return b.get_active(); });
    return static_cast<int>(active - choice.begin()) % 3;
}

} // namespace

TypePopover::TypePopover()
    : m_size(Gtk::Adjustment::create(20, 10, 72, 1)), m_indent(Gtk::Adjustment::create(2, 0, 4, 1)),
      m_spacing(Gtk::Adjustment::create(45, 0, 150, 5)) {
    m_grid.set_row_spacing(12);
    m_grid.set_column_spacing(18);
    m_grid.add_css_class("type");
    m_grid.attach(MakeThemes(), 0, 0, 2, 1);
    AddRow(1, _("Font"), m_family);
    AddRow(2, _("Size"), m_size);
    AddRow(3, _("Line spacing"), m_spacing);
    AddRow(4, _("Margins"), MakeChoice(m_margins, {_("Narrow"), _("Normal"), _("Wide")}));
    AddRow(5, _("Indent"), m_indent);
    AddRow(6, _("Justified"), m_justified);
    m_spacing.set_size_request(190, -1);
    m_justified.set_halign(Gtk::Align::START);
    set_child(m_grid);
    Listen();
}

void TypePopover::AddRow(int row, const Glib::ustring& name, Gtk::Widget& control) {
    auto* label = Gtk::make_managed<Gtk::Label>(name);
    label->set_xalign(0);
    label->set_mnemonic_widget(control);
    SetAccessibleName(control, name);
    m_grid.attach(*label, 0, row);
    m_grid.attach(control, 1, row);
}

Gtk::Widget& TypePopover::MakeThemes() {
    Gtk::Widget& row = MakeChoice(m_themes, {_("Light"), _("Sepia"), _("Dark")});
    row.remove_css_class("linked");
    for (std::size_t i = 0; i < m_themes.size(); ++i) {
        m_themes[i].add_css_class("theme");
        m_themes[i].add_css_class(kThemeStyles[i]);
    }
    return row;
}

Gtk::Widget& TypePopover::MakeChoice(Choice& choice, const std::array<Glib::ustring, 3>& names) {
    auto* row = Gtk::make_managed<Gtk::Box>();
    row->add_css_class("linked");
    row->set_homogeneous(true);
    for (std::size_t i = 0; i < choice.size(); ++i) {
        choice[i].set_label(names[i]);
        choice[i].set_hexpand(true);
        if (i > 0)
            choice[i].set_group(choice[0]);
        choice[i].signal_toggled().connect([this, &button = choice[i]] {
            if (button.get_active())
                Changed();
        });
        row->append(choice[i]);
    }
    return *row;
}

// When the popover is first opened: a system may have hundreds.
void TypePopover::FillFamilies() {
    if (m_family.get_model())
        return;
    for (const auto& family : get_pango_context()->list_families())
        m_families.push_back(family->get_name());
    std::sort(m_families.begin(), m_families.end());
    std::vector<Glib::ustring> names = m_families;
    names.insert(names.begin(), _("Default"));
    m_family.set_model(Gtk::StringList::create(names));
    m_family.set_expression(
        Gtk::PropertyExpression<Glib::ustring>::create(GTK_TYPE_STRING_OBJECT, "string"));
    m_family.set_enable_search(true);
}

void TypePopover::Listen() {
    const auto changed = sigc::mem_fun(*this, &TypePopover::Changed);
    m_family.property_selected().signal_changed().connect(changed);
    m_size.signal_value_changed().connect(changed);
    m_spacing.signal_value_changed().connect(changed);
    m_indent.signal_value_changed().connect(changed);
    m_justified.property_active().signal_changed().connect(changed);
}

void TypePopover::Show(const Settings& settings) {
    m_bShowing = true;
    m_settings = settings;
    FillFamilies();
    const auto family =
        std::find(m_families.begin(), m_families.end(), Glib::ustring(settings.family));
    const auto index = static_cast<guint>(family - m_families.begin()) + 1;
    m_family.set_selected(family != m_families.end() ? index : 0);
    m_themes.at(static_cast<std::size_t>(settings.theme)).set_active(true);
    m_margins.at(static_cast<std::size_t>(settings.margins)).set_active(true);
    m_size.set_value(settings.size);
    m_spacing.set_value(settings.spacing);
    m_indent.set_value(settings.indent);
    m_justified.set_active(settings.justified);
    m_bShowing = false;
}

void TypePopover::Changed() {
    if (m_bShowing)
        return;
    const guint family = m_family.get_selected();
    m_settings.family = family == 0 || family > m_families.size() ? "" : m_families[family - 1];
    m_settings.theme = static_cast<Theme>(Chosen(m_themes));
    m_settings.margins = static_cast<Margins>(Chosen(m_margins));
    m_settings.size = m_size.get_value_as_int();
    m_settings.spacing = static_cast<int>(m_spacing.get_value());
    m_settings.indent = m_indent.get_value_as_int();
    m_settings.justified = m_justified.get_active();
    m_signalChanged.emit(m_settings);
}

} // namespace umdread
