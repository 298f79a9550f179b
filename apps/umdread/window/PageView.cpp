#include "PageView.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include <glibmm/i18n.h>
#include <gtkmm/eventcontrollerscroll.h>
#include <gtkmm/gestureclick.h>
#include <gtkmm/gestureswipe.h>

#include "window/Messages.h"

namespace umdread {

namespace {

constexpr double kCorner = 26;        // of the folded corner, pixels
constexpr double kSlowestSwipe = 300; // pixels a second
constexpr double kFarthestClick = 12; // a press and a release within it are a click

void SetSource(const Cairo::RefPtr<Cairo::Context>& context, const Gdk::RGBA& colour,
               double opacity = 1) {
    context->set_source_rgba(colour.get_red(), colour.get_green(), colour.get_blue(), opacity);
}

} // namespace

PageView::PageView() {
    set_hexpand(true);
    set_vexpand(true);
    set_focusable(true);
    set_content_width(300);
    set_content_height(300);
    add_css_class("page");
    SetAccessibleName(*this, _("Page"));
    set_draw_func(sigc::mem_fun(*this, &PageView::Paint));
    signal_resize().connect([this](int, int) { FitPage(); });
    property_scale_factor().signal_changed().connect([this] { FitPage(); });
    ListenToPointer();
}

void PageView::SetSession(Session* session) {
    m_pSession = session;
    FitPage();
}

void PageView::SetTheme(Theme theme) {
    m_theme = theme;
    queue_draw();
}

void PageView::FitPage() {
    const int scale = get_scale_factor();
    if (m_pSession == nullptr || get_width() == 0 || get_height() == 0)
        return;
    m_pSession->SetPage(get_width() * scale, get_height() * scale, scale);
    Refresh();
    m_signalResized.emit();
}

void PageView::Refresh() {
    m_bOutdated = true;
    queue_draw();
}

// The library adds ink to what it finds, so the image is cleared before.
void PageView::DrawScreen() {
    const int scale = get_scale_factor();
    const int width = get_width() * scale;
    const int height = get_height() * scale;
    if (!m_pCoverage || m_pCoverage->get_width() != width || m_pCoverage->get_height() != height) {
        m_pCoverage = Cairo::ImageSurface::create(Cairo::Surface::Format::A8, width, height);
        cairo_surface_set_device_scale(m_pCoverage->cobj(), scale, scale);
    }
    m_pCoverage->flush();
    const int stride = m_pCoverage->get_stride();
    std::memset(m_pCoverage->get_data(), 0, std::size_t(height) * std::size_t(stride));
    m_pSession->Draw(m_pCoverage->get_data(), stride);
    m_pCoverage->mark_dirty();
    m_bOutdated = false;
    m_signalDrawn.emit();
}

void PageView::Paint(const Cairo::RefPtr<Cairo::Context>& context, int width, int) {
    const Colours& colours = ColoursOf(m_theme);
    SetSource(context, colours.paper);
    context->paint();
    if (m_pSession == nullptr)
        return;
    if (m_bOutdated)
        DrawScreen();
    SetSource(context, colours.ink);
    context->mask(m_pCoverage, 0, 0);
    PaintMarks(context, width);
}

void PageView::PaintMarks(const Cairo::RefPtr<Cairo::Context>& context, int width) {
    const Colours& colours = ColoursOf(m_theme);
    if (m_pSession->IsBookmarked()) {
        context->move_to(width - kCorner, 0);
        context->line_to(width, kCorner);
        context->line_to(width, 0);
        SetSource(context, colours.chrome);
        context->fill();
        context->move_to(width - kCorner, 0);
        context->line_to(width - kCorner, kCorner);
        context->line_to(width, kCorner);
        SetSource(context, colours.accent);
        context->fill();
    }
    for (const Mark& note : m_pSession->Notes()) {
        if (m_pSession->IsShown(note.place))
            PaintBar(context, note.place, 0.45);
    }
    if (const auto hit = m_pSession->CurrentHit())
        PaintBar(context, m_pSession->Hits()[*hit].place, 1);
}

// Marks a line of the text in the margin beside it.
void PageView::PaintBar(const Cairo::RefPtr<Cairo::Context>& context, const Place& place,
                        double opacity) {
    const auto middle = m_pSession->LineOf(place);
    if (!middle)
        return;
    const double scale = get_scale_factor();
    constexpr double kHeight = 18;
    SetSource(context, ColoursOf(m_theme).accent, opacity);
    context->rectangle(m_pSession->TextBox().x / scale - 14, *middle / scale - kHeight / 2, 3,
                       kHeight);
    context->fill();
}

// --- pointer ------------------------------------------------------------------------------------

void PageView::ListenToPointer() {
    const auto click = Gtk::GestureClick::create();
    click->signal_pressed().connect([this](int, double x, double y) {
        m_nPressedX = x;
        m_nPressedY = y;
    });
    click->signal_released().connect([this](int, double x, double y) { OnReleased(x, y); });
    add_controller(click);

    const auto swipe = Gtk::GestureSwipe::create();
    swipe->signal_swipe().connect([this](double x, double y) {
        if (std::abs(x) > kSlowestSwipe && std::abs(x) > 2 * std::abs(y))
            m_signalTurn.emit(x < 0);
    });
    add_controller(swipe);
    swipe->group(click);

    const auto wheel = Gtk::EventControllerScroll::create();
    wheel->set_flags(Gtk::EventControllerScroll::Flags::VERTICAL |
                     Gtk::EventControllerScroll::Flags::DISCRETE);
    wheel->signal_scroll().connect(
        [this](double, double y) {
            if (y != 0)
                m_signalTurn.emit(y > 0);
            return true;
        },
        false);
    add_controller(wheel);
}

void PageView::OnReleased(double x, double y) {
    grab_focus();
    if (std::hypot(x - m_nPressedX, y - m_nPressedY) > kFarthestClick)
        return;
    if (x > get_width() - 1.5 * kCorner && y < 1.5 * kCorner)
        m_signalCorner.emit();
    else if (x < get_width() / 3.0)
        m_signalTurn.emit(false);
    else if (x > get_width() * 2 / 3.0)
        m_signalTurn.emit(true);
}

} // namespace umdread
