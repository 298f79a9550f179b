#include "Fonts.h"

#include <memory>

#include <fontconfig/fontconfig.h>

namespace umdread {

namespace {

using Pattern = std::unique_ptr<FcPattern, void (*)(FcPattern*)>;

// The family that fontconfig gives for a pattern such as "serif:lang=zh-cn".
std::string Match(const char* wanted) {
    const Pattern pattern(FcNameParse(reinterpret_cast<const FcChar8*>(wanted)), FcPatternDestroy);
    FcConfigSubstitute(nullptr, pattern.get(), FcMatchPattern);
    FcDefaultSubstitute(pattern.get());
    FcResult result = FcResultNoMatch;
    const Pattern font(FcFontMatch(nullptr, pattern.get(), &result), FcPatternDestroy);
    FcChar8* family = nullptr;
    if (font == nullptr || FcPatternGetString(font.get(), FC_FAMILY, 0, &family) != FcResultMatch)
        return "serif";
    return reinterpret_cast<const char*>(family);
}

} // namespace

// The comma at the end keeps Pango from taking a family's last word for a style.
std::string FontDescription(const std::string& family, int size, bool chinese) {
    static const std::string latinFamily = Match("serif:lang=en");
    static const std::string chineseFamily = Match("serif:lang=zh-cn");
    std::string families = family.empty() ? "" : family + ",";
    families += chinese ? chineseFamily + "," + latinFamily : latinFamily + "," + chineseFamily;
    return families + ", " + std::to_string(size);
}

} // namespace umdread
