#pragma once

#include <cairomm/surface.h>
#include <gtkmm/drawingarea.h>
#include <sigc++/signal.h>

#include "session/Session.h"
#include "window/Colours.h"

namespace umdread {

// The page: paints the screen that the session shows and says where it was clicked.
class PageView : public Gtk::DrawingArea {
public:
    PageView();

    void SetSession(Session* session); // null: an empty page
    void SetTheme(Theme theme);

    // Draws the screen anew, and the marks on it; or only these.
    void Refresh();
    void RefreshMarks() { queue_draw(); }

    sigc::signal<void(bool forward)>& SignalTurn() { return m_signalTurn; }
    sigc::signal<void()>& SignalCorner() { return m_signalCorner; }
    sigc::signal<void()>& SignalResized() { return m_signalResized; }
    sigc::signal<void()>& SignalDrawn() { return m_signalDrawn; } // a screen was drawn anew

private:
    void FitPage();
    void DrawScreen();
    void Paint(const Cairo::RefPtr<Cairo::Context>& context, int width, int height);
    void PaintMarks(const Cairo::RefPtr<Cairo::Context>& context, int width);
    void PaintBar(const Cairo::RefPtr<Cairo::Context>& context, const Place& place, double opacity);
    void ListenToPointer();
    void OnReleased(double x, double y);

    Session* m_pSession = nullptr;
    Theme m_theme = Theme::Light;
    Cairo::RefPtr<Cairo::ImageSurface> m_pCoverage;
    bool m_bOutdated = true;
    double m_nPressedX = 0, m_nPressedY = 0;
    sigc::signal<void(bool)> m_signalTurn;
    sigc::signal<void()> m_signalCorner;
    sigc::signal<void()> m_signalResized;
    sigc::signal<void()> m_signalDrawn;
};

} // namespace umdread
