// umdread: a window to read in. Session does all that its commands do; the widgets draw and listen.
#include <clocale>

#include <gtk/gtk.h>
#include <libintl.h>

#include "window/Application.h"

int main(int argc, char** argv) {
    std::setlocale(LC_ALL, "");
    bindtextdomain("umdread", (umdread::ShareFolder() + "/locale").c_str());
    bind_textdomain_codeset("umdread", "UTF-8");
    textdomain("umdread");
    return gtk_init_check() ? umdread::Application().run(argc, argv)
                            : umdread::RunWithoutDisplay(argc, argv);
}
