// Pins fonts, locale and sanitizer behaviour before any test runs, so that the program gives the
// same results under ctest, by hand and in the debugger, and gives each process a folder of its
// own.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

#include <gtest/gtest.h>
#include <pango/pangoft2.h>

namespace {

// The family that draws a character. A FONTCONFIG_FILE that names a missing file falls back to the
// system's fonts with a warning only, so ask for what was really loaded.
std::string FamilyOf(guint character) {
    std::unique_ptr<PangoFontMap, void (*)(gpointer)> map(pango_ft2_font_map_new(), g_object_unref);
    std::unique_ptr<PangoContext, void (*)(gpointer)> context(
        pango_font_map_create_context(map.get()), g_object_unref);
    std::unique_ptr<PangoFontDescription, void (*)(PangoFontDescription*)> description(
        pango_font_description_from_string("fzlth 18"), pango_font_description_free);
    std::unique_ptr<PangoFontset, void (*)(gpointer)> fonts(
        pango_context_load_fontset(context.get(), description.get(), nullptr), g_object_unref);
    std::unique_ptr<PangoFont, void (*)(gpointer)> font(
        pango_fontset_get_font(fonts.get(), character), g_object_unref);
    std::unique_ptr<PangoFontDescription, void (*)(PangoFontDescription*)> loaded(
        pango_font_describe(font.get()), pango_font_description_free);
    return pango_font_description_get_family(loaded.get());
}

// What testing::TempDir() names while this lives, so that tests running side by side share no file.
class TemporaryFolder {
public:
    TemporaryFolder() {
        m_Path = (std::filesystem::temp_directory_path() / "umdformat-tests-XXXXXX").string();
        if (!mkdtemp(m_Path.data()))
            return;
        setenv("TEST_TMPDIR", m_Path.c_str(), 1);
        std::filesystem::permissions(m_Path, std::filesystem::perms{0755}); // a test acts as nobody
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_Path, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

private:
    std::string m_Path;
};

} // namespace

#if defined(__SANITIZE_ADDRESS__)
// fontconfig keeps its configuration for the life of the process; FcFini would release it, but
// aborts now and then because Pango's own threads still use it.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libfontconfig\n";
}
#endif

int main(int argc, char** argv) {
    setenv("FONTCONFIG_FILE", TEST_FONTS_CONF, 1);
    setenv("LC_ALL", "C.UTF-8", 1);
    testing::InitGoogleTest(&argc, argv);
    if (testing::GTEST_FLAG(list_tests))
        return RUN_ALL_TESTS();
    const std::string families = FamilyOf('a') + ", " + FamilyOf(0x5b57);
    if (families != "DejaVu Sans, WenQuanYi Micro Hei") {
        std::fprintf(stderr, "fzlth gives %s, not the test fonts: %s is not in use\n",
                     families.c_str(), TEST_FONTS_CONF);
        return EXIT_FAILURE;
    }
    const TemporaryFolder folder;
    const int result = RUN_ALL_TESTS();
    if (testing::UnitTest::GetInstance()->test_to_run_count() == 0) {
        std::fprintf(stderr, "No test ran: the filter matches none\n");
        return EXIT_FAILURE;
    }
    return result;
}
