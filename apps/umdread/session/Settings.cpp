#include "Settings.h"

#include <algorithm>

#include "session/KeyFile.h"

namespace umdread {

namespace {

constexpr char kFileName[] = "settings.ini";
constexpr char type[] = "Type";
constexpr char window[] = "Window";

template<typename Enumeration>
Enumeration ToEnumeration(int value) {
    return static_cast<Enumeration>(std::clamp(value, 0, 2)); // three values each
}

} // namespace

void Settings::KeepInRange() {
    size = std::clamp(size, 10, 72);
    spacing = std::clamp(spacing, 0, 150);
    indent = std::clamp(indent, 0, 4);
    width = std::clamp(width, 360, 10000);
    height = std::clamp(height, 360, 10000);
}

Settings LoadSettings(const std::string& folder) {
    const KeyFile file(folder, kFileName);
    Settings settings;
    settings.family = file.Get(type, "family", settings.family);
    settings.size = file.Get(type, "size", settings.size);
    settings.spacing = file.Get(type, "spacing", settings.spacing);
    settings.margins =
        ToEnumeration<Margins>(file.Get(type, "margins", static_cast<int>(settings.margins)));
    settings.justified = file.Get(type, "justified", settings.justified);
    settings.indent = file.Get(type, "indent", settings.indent);
    settings.theme =
        ToEnumeration<Theme>(file.Get(type, "theme", static_cast<int>(settings.theme)));
    settings.width = file.Get(window, "width", settings.width);
    settings.height = file.Get(window, "height", settings.height);
    settings.maximized = file.Get(window, "maximized", settings.maximized);
    settings.panel = file.Get(window, "panel", settings.panel);
    settings.KeepInRange();
    return settings;
}

bool SaveSettings(const std::string& folder, const Settings& settings) {
    KeyFile file(folder, kFileName);
    file.Set(type, "family", settings.family);
    file.Set(type, "size", settings.size);
    file.Set(type, "spacing", settings.spacing);
    file.Set(type, "margins", static_cast<int>(settings.margins));
    file.Set(type, "justified", settings.justified);
    file.Set(type, "indent", settings.indent);
    file.Set(type, "theme", static_cast<int>(settings.theme));
    file.Set(window, "width", settings.width);
    file.Set(window, "height", settings.height);
    file.Set(window, "maximized", settings.maximized);
    file.Set(window, "panel", settings.panel);
    return file.Save();
}

} // namespace umdread
