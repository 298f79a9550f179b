// umdread: a window to read in. Session does all that its commands do; the widgets draw and listen.
#include <clocale>

#include <libintl.h>

#include "window/Application.h"

int main(int argc, char** argv) {
    std::setlocale(LC_ALL, "");
    bindtextdomain("umdread", (umdread::ShareFolder() + "/locale").c_str());
    bind_textdomain_codeset("umdread", "UTF-8");
    textdomain("umdread");
    return umdread::Application().run(argc, argv);
}
