#pragma once

#include <string>

#include <gdkmm/rgba.h>

#include "session/Settings.h"

namespace umdread {

// A theme's colours.
struct Colours {
    Gdk::RGBA paper, ink, chrome, border, accent;
};

const Colours& ColoursOf(Theme theme);

// Dresses all windows in a theme.
void ApplyTheme(Theme theme);

} // namespace umdread
