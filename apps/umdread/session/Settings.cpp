#include "Settings.h"

#include <algorithm>

#include "session/KeyFile.h"

namespace umdread {

namespace {

constexpr char kFileName[] = "settings.ini";
// Each setting by its name in the file.
template<typename Chosen, typename Visitor>
void Visit(Chosen& settings, Visitor visit) {
    visit("Type", "family", settings.family);
    visit("Type", "size", settings.size);
    visit("Type", "spacing", settings.spacing);
    visit("Type", "margins", settings.margins);
    visit("Type", "justified", settings.justified);
    visit("Type", "indent", settings.indent);
    visit("Type", "theme", settings.theme);
    visit("Window", "width", settings.width);
    visit("Window", "height", settings.height);
    visit("Window", "maximized", settings.maximized);
    visit("Window", "panel", settings.panel);
}

} // namespace

void Settings::KeepInRange() {
    size = std::clamp(size, 10, 72);
    spacing = std::clamp(spacing, 0, 150);
    margins = std::clamp(margins, Margins::Narrow, Margins::Wide);
    indent = std::clamp(indent, 0, 4);
    theme = std::clamp(theme, Theme::Light, Theme::Dark);
    width = std::clamp(width, 360, 10000);
    height = std::clamp(height, 360, 10000);
}

Settings LoadSettings(const std::string& folder) {
    const KeyFile file(folder, kFileName);
    Settings settings;
    Visit(settings,
          [&](const char* group, const char* key, auto& value) { file.Get(group, key, value); });
    settings.KeepInRange();
    return settings;
}

bool SaveSettings(const std::string& folder, const Settings& settings) {
    KeyFile file(folder, kFileName);
    Visit(settings, [&](const char* group, const char* key, const auto& value) {
        file.Set(group, key, value);
    });
    return file.Save();
}

} // namespace umdread
