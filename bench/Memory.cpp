#include "bench/Memory.h"

#include <climits>
#include <cstdio>
#include <fstream>
#include <memory>
#include <stdexcept>

#include <malloc.h>

#include "bench/BarePango.h"
#include "bench/ProbeRender.h"

namespace bench {

namespace {

// By then each character of the samples was drawn once, so that the glyphs are there.
constexpr int kWarmScreens = 60;

long HeapInUse() {
    const struct mallinfo2 info = mallinfo2();
    return static_cast<long>(info.uordblks + info.hblkhd);
}

// The process's own peak in KiB. getrusage would also count the process that started it.
long PeakMemory() {
    std::ifstream status("/proc/self/status");
    std::string word;
    long kibibytes = 0;
    while (status >> word && word != "VmHWM:") {
    }
    status >> kibibytes;
    return kibibytes;
}

void Draw(ProbeRender& render) {
    Image image(std::size_t{kWidth} * kHeight);
    render.Draw(image);
}

// The same screen each time, so that two answers differ by what was kept in between.
long HeapAtFirstScreen(ProbeRender& render) {
    render.GotoPosition(0);
    Draw(render);
    return HeapInUse();
}

// Draws at most `count` screens from the book's first on. Returns how many there were.
int PageFromStart(ProbeRender& render, int count) {
    render.GotoPosition(0);
    int drawn = 0;
    do {
        Draw(render);
    } while (++drawn < count && render.GotoNextScreen() == QvFormat::QV_S_OK);
    return drawn;
}

} // namespace

void PageThrough(const std::string& path) {
    ProbeRender render;
    const long before = HeapInUse();
    render.Open(path);
    const long opened = HeapInUse() - before;
    PageFromStart(render, kWarmScreens);
    const long warm = HeapAtFirstScreen(render) - before;
    const long warmPeak = PeakMemory();
    const int screens = PageFromStart(render, INT_MAX);
    const long kept = HeapAtFirstScreen(render) - before - warm;
    std::printf("%d %ld %ld %ld %ld %ld\n", screens, opened, warm, kept, PeakMemory(),
                PeakMemory() - warmPeak);
}

void PrintPagingMemory(const std::string& program, const std::string& size,
                       const std::string& path) {
    // Blocks that malloc sets aside for a thread would count as in use.
    const std::string command = "GLIBC_TUNABLES=glibc.malloc.tcache_count=0 '" + program +
                                "' --page-through '" + path + "'";
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    int screens = 0;
    long opened = 0, warm = 0, kept = 0, peak = 0, peakGrowth = 0;
    if (!pipe || std::fscanf(pipe.get(), "%d %ld %ld %ld %ld %ld", &screens, &opened, &warm, &kept,
                             &peak, &peakGrowth) != 6)
        throw std::runtime_error(command + " failed");
    std::printf("| %s | %d | %ld | %ld | %ld | %ld | %ld |\n", size.c_str(), screens, opened, warm,
                kept, peak, peakGrowth);
}

} // namespace bench
