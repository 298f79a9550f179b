#include "ShelfView.h"

#include <array>
#include <cmath>
#include <functional>

#include <glibmm/convert.h>
#include <glibmm/i18n.h>
#include <gtkmm/button.h>
#include <gtkmm/drawingarea.h>
#include <gtkmm/image.h>
#include <gtkmm/progressbar.h>
#include <pangomm/layout.h>

#include "window/Messages.h"

namespace umdread {

namespace {

constexpr int kCoverWidth = 132;
constexpr int kCoverHeight = 184;

struct Cloth {
    double red, green, blue;
};

// Muted, so that a shelf of them stays calm.
constexpr std::array<Cloth, 6> kCloths = {{{0.36, 0.25, 0.22},
                                           {0.21, 0.33, 0.38},
                                           {0.31, 0.36, 0.25},
                                           {0.45, 0.32, 0.19},
                                           {0.33, 0.27, 0.38},
                                           {0.47, 0.24, 0.22}}};

// A bound book: cloth, a darker spine, the title in pale letters.
void PaintCover(Gtk::DrawingArea& area, const Cairo::RefPtr<Cairo::Context>& context, int width,
                int height, const std::string& title) {
    const Cloth& cloth = kCloths[std::hash<std::string>()(title) % kCloths.size()];
    context->set_source_rgb(cloth.red, cloth.green, cloth.blue);
    context->paint();
    context->set_source_rgba(0, 0, 0, 0.22);
    context->rectangle(0, 0, 9, height);
    context->fill();
    context->set_source_rgba(1, 1, 1, 0.25);
    context->set_line_width(1);
    context->rectangle(18.5, 10.5, width - 29, height - 21);
    context->stroke();
    const auto layout = area.create_pango_layout(Valid(title));
    const int most = (width - 36) * Pango::SCALE;
    layout->set_width(most);
    layout->set_height(-6); // lines
    layout->set_ellipsize(Pango::EllipsizeMode::END);
    layout->set_wrap(Pango::WrapMode::WORD);
    layout->set_alignment(Pango::Alignment::CENTER);
    Pango::FontDescription font("Serif Bold 11");
    for (int size = 11; size >= 7; --size) { // points, until the longest word has room
        font.set_size(size * Pango::SCALE);
        layout->set_font_description(font);
        if (layout->get_logical_extents().get_width() <= most)
            break;
    }
    context->set_source_rgba(1, 0.97, 0.9, 0.92);
    context->move_to(22, 34);
    layout->show_in_cairo_context(context);
}

Gtk::Label* MakeLine(const std::string& text, const char* style) {
    auto* label = Gtk::make_managed<Gtk::Label>(Valid(text));
    label->set_ellipsize(Pango::EllipsizeMode::END);
    label->set_max_width_chars(1);
    label->set_hexpand(true);
    label->set_xalign(0);
    label->add_css_class(style);
    return label;
}

} // namespace

ShelfView::ShelfView() {
    add_css_class("shelf");
    m_cards.set_valign(Gtk::Align::START);
    m_cards.set_halign(Gtk::Align::CENTER);
    m_cards.set_homogeneous(true);
    m_cards.set_max_children_per_line(8);
    m_cards.set_column_spacing(18);
    m_cards.set_row_spacing(18);
    m_cards.set_selection_mode(Gtk::SelectionMode::NONE);
    m_cards.set_activate_on_single_click(true);
    m_cards.signal_child_activated().connect([this](Gtk::FlowBoxChild* child) {
        m_signalChosen.emit(m_books.at(static_cast<std::size_t>(child->get_index())).path);
    });
    m_scrolled.set_policy(Gtk::PolicyType::NEVER, Gtk::PolicyType::AUTOMATIC);
    m_scrolled.set_child(m_cards);
    add(*MakeEmpty(), "empty");
    add(m_scrolled, "books");
}

Gtk::Widget* ShelfView::MakeEmpty() {
    auto* box = Gtk::make_managed<Gtk::Box>(Gtk::Orientation::VERTICAL, 12);
    box->set_valign(Gtk::Align::CENTER);
    box->set_halign(Gtk::Align::CENTER);
    auto* icon = Gtk::make_managed<Gtk::Image>();
    icon->set_from_icon_name("org.umdformat.umdread");
    icon->set_pixel_size(128);
    auto* title = Gtk::make_managed<Gtk::Label>(_("Nothing on the shelf yet"));
    title->add_css_class("title");
    auto* hint = Gtk::make_managed<Gtk::Label>(_("Open a UMD book, or drop one here."));
    hint->add_css_class("detail");
    auto* open = Gtk::make_managed<Gtk::Button>(_("Open a Book…"));
    open->set_halign(Gtk::Align::CENTER);
    open->add_css_class("suggested");
    open->signal_clicked().connect([this] { m_signalOpen.emit(); });
    for (Gtk::Widget* child : {static_cast<Gtk::Widget*>(icon), static_cast<Gtk::Widget*>(title),
                               static_cast<Gtk::Widget*>(hint), static_cast<Gtk::Widget*>(open)})
        box->append(*child);
    return box;
}

void ShelfView::Show(const std::vector<ShelvedBook>& books) {
    m_books = books;
    while (Gtk::Widget* child = m_cards.get_first_child())
        m_cards.remove(*child);
    for (const ShelvedBook& book : books)
        m_cards.append(*MakeCard(book));
    set_visible_child(books.empty() ? "empty" : "books");
}

Gtk::Widget* ShelfView::MakeCard(const ShelvedBook& book) {
    auto* card = Gtk::make_managed<Gtk::Box>(Gtk::Orientation::VERTICAL, 4);
    auto* cover = Gtk::make_managed<Gtk::DrawingArea>();
    cover->set_content_width(kCoverWidth);
    cover->set_content_height(kCoverHeight);
    cover->add_css_class("cover");
    cover->set_draw_func([cover, title = book.title](const Cairo::RefPtr<Cairo::Context>& context,
                                                     int width, int height) {
        PaintCover(*cover, context, width, height, title);
    });
    auto* read = Gtk::make_managed<Gtk::ProgressBar>();
    read->set_fraction(book.fraction);
    card->append(*cover);
    card->append(*MakeLine(book.title, "line"));
    card->append(*MakeLine(
        book.author.empty() ? book.path.substr(book.path.rfind('/') + 1) : book.author, "detail"));
    auto* foot = Gtk::make_managed<Gtk::Box>(Gtk::Orientation::HORIZONTAL, 8);
    read->set_hexpand(true);
    read->set_valign(Gtk::Align::CENTER);
    foot->append(*read);
    auto* percent = Gtk::make_managed<Gtk::Label>(Percent(book.fraction));
    percent->add_css_class("detail");
    foot->append(*percent);
    card->append(*foot);
    card->set_tooltip_text(Glib::filename_display_name(book.path));
    return card;
}

} // namespace umdread
