#include "RowList.h"

#include <glibmm/i18n.h>
#include <glibmm/main.h>
#include <gtkmm/box.h>
#include <gtkmm/button.h>
#include <gtkmm/signallistitemfactory.h>

#include "window/Messages.h"

namespace umdread {

namespace {

Gtk::Label* MakeLabel(const char* style) {
    auto* label = Gtk::make_managed<Gtk::Label>();
    label->set_xalign(0);
    label->set_ellipsize(Pango::EllipsizeMode::END);
    label->add_css_class(style);
    return label;
}

} // namespace

RowList::RowList(const Glib::ustring& name, const Glib::ustring& empty, bool removable)
    : m_pModel(Gtk::StringList::create({})), m_pSelection(Gtk::SingleSelection::create(m_pModel)),
      m_empty(empty) {
    m_pSelection->set_autoselect(false);
    m_pSelection->set_can_unselect(true);
    const auto factory = Gtk::SignalListItemFactory::create();
    factory->signal_setup().connect(
        [this, removable](const Glib::RefPtr<Gtk::ListItem>& item) { SetUp(item, removable); });
    factory->signal_bind().connect([this](const Glib::RefPtr<Gtk::ListItem>& item) { Bind(item); });
    m_view.set_model(m_pSelection);
    m_view.set_factory(factory);
    m_view.set_single_click_activate(true);
    m_view.signal_map().connect([this] { // rows have a size after the next frame
        Glib::signal_idle().connect_once(sigc::mem_fun(*this, &RowList::ScrollToSelected),
                                         Glib::PRIORITY_LOW);
    });
    m_view.signal_activate().connect([this](guint index) { m_signalChosen.emit(index); });
    SetAccessibleName(m_view, name);
    m_scrolled.set_child(m_view);
    m_scrolled.set_policy(Gtk::PolicyType::NEVER, Gtk::PolicyType::AUTOMATIC);
    m_scrolled.set_vexpand(true);
    m_empty.set_wrap(true);
    m_empty.set_justify(Gtk::Justification::CENTER);
    m_empty.set_max_width_chars(24);
    m_empty.set_valign(Gtk::Align::START);
    m_empty.add_css_class("empty");
    add(m_empty, "empty");
    add(m_scrolled, "rows");
}

void RowList::SetRows(unsigned int count, RowAt rowAt) {
    m_rowAt = std::move(rowAt);
    m_pModel->splice(0, m_pModel->get_n_items(), {});
    Grow(count);
}

void RowList::Grow(unsigned int count) {
    const unsigned int before = m_pModel->get_n_items();
    if (count > before)
        m_pModel->splice(before, 0, std::vector<Glib::ustring>(count - before));
    set_visible_child(count > 0 ? "rows" : "empty");
}

void RowList::Select(std::optional<std::size_t> index) {
    const guint position = index ? static_cast<guint>(*index) : GTK_INVALID_LIST_POSITION;
    if (m_pSelection->get_selected() == position)
        return;
    m_pSelection->set_selected(position);
    ScrollToSelected();
}

void RowList::ScrollToSelected() {
    const guint position = m_pSelection->get_selected();
    if (position != GTK_INVALID_LIST_POSITION)
        m_view.activate_action("list.scroll-to-item", Glib::Variant<guint32>::create(position));
}

// [ markup         end ] [x]
// [ detail             ]
void RowList::SetUp(const Glib::RefPtr<Gtk::ListItem>& item, bool removable) {
    auto* row = Gtk::make_managed<Gtk::Box>(Gtk::Orientation::HORIZONTAL, 8);
    auto* lines = Gtk::make_managed<Gtk::Box>(Gtk::Orientation::VERTICAL, 2);
    lines->set_hexpand(true);
    lines->append(*MakeLabel("line"));
    lines->append(*MakeLabel("detail"));
    row->append(*lines);
    row->append(*MakeLabel("end"));
    if (removable) {
        auto* remove = Gtk::make_managed<Gtk::Button>();
        remove->set_icon_name("edit-delete-symbolic");
        remove->set_tooltip_text(_("Delete"));
        remove->set_has_frame(false);
        remove->set_valign(Gtk::Align::CENTER);
        remove->add_css_class("remove");
        auto* const pItem = item.get();
        remove->signal_clicked().connect(
            [this, pItem] { m_signalRemoved.emit(pItem->get_position()); });
        row->append(*remove);
    }
    item->set_child(*row);
}

void RowList::Bind(const Glib::RefPtr<Gtk::ListItem>& item) {
    const Row row = m_rowAt(item->get_position());
    Gtk::Widget* const lines = item->get_child()->get_first_child();
    auto* const line = dynamic_cast<Gtk::Label*>(lines->get_first_child());
    auto* const detail = dynamic_cast<Gtk::Label*>(lines->get_last_child());
    auto* const end = dynamic_cast<Gtk::Label*>(lines->get_next_sibling());
    line->set_markup(row.markup);
    detail->set_text(row.detail);
    detail->set_visible(!row.detail.empty());
    end->set_text(row.end);
}

} // namespace umdread
