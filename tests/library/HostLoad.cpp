// A host that loads the library, draws, unloads it and starts over. It links nothing of it, finds
// the factory by its published name and keeps to the interface.
#include <cstdio>
#include <vector>

#include <dlfcn.h>

#include "IFormatRender.h"

using namespace QvFormat;
using Factory = QVRESULT(char const*, IFormatRender**);

namespace {

// Grey levels of the first screen added up; 0 when something failed.
long DrawFirstScreen(const char* library, const char* book) {
    void* handle = dlopen(library, RTLD_NOW);
    if (!handle) {
        std::fprintf(stderr, "%s\n", dlerror());
        return 0;
    }
    auto* create = reinterpret_cast<Factory*>(
        dlsym(handle, "_Z26CreateFormatRenderInstancePKcPPN8QvFormat13IFormatRenderE"));
    IFormatRender* render = nullptr;
    long ink = 0;
    if (create && create(book, &render) == QV_S_OK) {
        std::vector<unsigned char> pixels(600 * 800);
        render->DrawCurScreen({0, pixels.data(), 800, 600, 600}, 0, 0);
        for (const unsigned char pixel : pixels)
            ink += pixel;
        delete render;
    }
    dlclose(handle);
    return ink;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s LIBRARY BOOK\n", argv[0]);
        return 2;
    }
    const long first = DrawFirstScreen(argv[1], argv[2]);
    std::printf("first screen: %ld\n", first);
    for (int round = 0; first > 0 && round < 30; ++round) {
        if (DrawFirstScreen(argv[1], argv[2]) != first)
            return 1;
    }
    return first > 0 ? 0 : 1;
}
