#pragma once

#include <string>

namespace umdread {

enum class Theme { Light, Sepia, Dark };
enum class Margins { Narrow, Normal, Wide };

// What the reader chose; numbers are kept within their ranges when they are read or changed.
struct Settings {
    static constexpr int kDefaultSize = 20;

    std::string family;      // empty: found through fontconfig
    int size = kDefaultSize; // of the letters, pixels
    int spacing = 45;        // between lines, percent of the size
    Margins margins = Margins::Normal;
    bool justified = true;
    int indent = 2; // of a paragraph's first line, characters
    Theme theme = Theme::Light;

    int width = 900; // of the window
    int height = 860;
    bool maximized = false;
    bool panel = false; // the side panel is open

    void KeepInRange();
};

// Reads the settings from the user's configuration folder; what is missing or makes no sense keeps
// its default, and a damaged file is set aside.
Settings LoadSettings(const std::string& folder);
bool SaveSettings(const std::string& folder, const Settings& settings);

} // namespace umdread
