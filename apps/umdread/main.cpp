// umdread: a window to read in. Session does all that its commands do; the widgets draw and listen.
#include <clocale>
#include <filesystem>

#include <libintl.h>

#include "window/Application.h"

int main(int argc, char** argv) {
    std::error_code error;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
    const auto locale = program.parent_path().parent_path() / "share" / "locale";
    std::setlocale(LC_ALL, "");
    bindtextdomain("umdread", locale.c_str());
    bind_textdomain_codeset("umdread", "UTF-8");
    textdomain("umdread");
    return umdread::Application().run(argc, argv);
}
