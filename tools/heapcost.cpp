// heapcost pages through a book, drawing every screen, and prints what the library itself takes
// from the heap meanwhile. It is linked from the library's objects with --wrap, so that the calls
// counted are theirs; what Pango, zlib, stdio and the C library take is theirs and left out, but
// for the lines that Pango keeps of the segment shown.
#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include <malloc.h>

#include "base/CFileStream.h"
#include "layout/CPangoLayout.h"
#include "render/CUMDRenderImpl.h"

namespace {

struct Heap {
    long allocations = 0;
    std::size_t bytes = 0, peak = 0, largest = 0;

    void* Add(void* block) {
        const std::size_t size = malloc_usable_size(block);
        ++allocations;
        bytes += size;
        peak = std::max(peak, bytes);
        largest = std::max(largest, size);
        return block;
    }
    void Remove(void* block) { bytes -= malloc_usable_size(block); }
};

Heap heap;

} // namespace

// What the linker puts in place of the library's calls, under its names for them.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {
void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* block, std::size_t size);
void __real_free(void* block);

void* __wrap_malloc(std::size_t size) {
    return heap.Add(__real_malloc(size));
}

void* __wrap_calloc(std::size_t count, std::size_t size) {
    return heap.Add(__real_calloc(count, size));
}

void* __wrap_realloc(void* block, std::size_t size) {
    heap.Remove(block);
    return heap.Add(__real_realloc(block, size));
}

void __wrap_free(void* block) {
    heap.Remove(block);
    __real_free(block);
}
}
// NOLINTEND(bugprone-reserved-identifier)

// Every form of new and delete comes down to these two.
void* operator new(std::size_t size) {
    void* block = __real_malloc(size);
    return block ? heap.Add(block) : throw std::bad_alloc();
}

void operator delete(void* block) noexcept {
    __wrap_free(block);
}

void operator delete(void* block, std::size_t) noexcept {
    __wrap_free(block);
}

namespace {

constexpr int kWidth = 600;
constexpr int kHeight = 800;

class ProbeRender : public QvFormat::CUMDRenderImpl {
public:
    bool Open(char* path) {
        auto* stream = new QvFormat::CFileStream(reinterpret_cast<unsigned char*>(path),
                                                 QvFormat::FileOpenRead);
        auto* layout = new QvFormat::CPangoLayout("fzlth 18", kWidth, kHeight, 72, 72);
        return Initialize(stream, layout, path) >= 0;
    }
    bool SameSegment(int block, int offset) const {
        return m_nFirstBlock == block && m_nStartOffset == offset;
    }
    int FirstBlock() const { return m_nFirstBlock; }
    int StartOffset() const { return m_nStartOffset; }
};

// The fewest and the most of one kind of turn.
struct Range {
    long least = -1, most = 0, turns = 0;

    void Add(long value) {
        least = least < 0 ? value : std::min(least, value);
        most = std::max(most, value);
        ++turns;
    }
    void Print(const char* name) const {
        std::printf("%s: %ld to %ld in %ld turns\n", name, std::max(least, 0L), most, turns);
    }
};

struct Counts {
    Range turnsInside, drawings, turnsBetween;
    long screens = 0;
};

void Draw(ProbeRender& render) {
    static unsigned char pixels[kWidth * kHeight];
    std::memset(pixels, 0, sizeof(pixels));
    render.DrawCurScreen({0, pixels, kHeight, kWidth, kWidth}, 0, 0);
}

Counts PageThrough(ProbeRender& render) {
    Counts counts;
    Draw(render);
    for (counts.screens = 1;; ++counts.screens) {
        const int block = render.FirstBlock(), offset = render.StartOffset();
        const long before = heap.allocations;
        if (render.GotoNextScreen() != QvFormat::QV_S_OK)
            return counts;
        const long turned = heap.allocations;
        Draw(render);
        const bool inside = render.SameSegment(block, offset);
        (inside ? counts.turnsInside : counts.turnsBetween).Add(turned - before);
        counts.drawings.Add(heap.allocations - turned);
    }
}

// What a laid-out segment takes in the middle of the book: its lines are dropped once more.
std::size_t KeptByPango(ProbeRender& render) {
    render.GotoPosition(0.5f);
    Draw(render);
    const std::size_t before = mallinfo2().uordblks - heap.bytes;
    render.SetScreenRes(kWidth, kHeight);
    return before - (mallinfo2().uordblks - heap.bytes);
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s BOOK\n", argv[0]);
        return 2;
    }
    {
        ProbeRender render;
        if (!render.Open(argv[1])) {
            std::fprintf(stderr, "%s: not a book that can be read\n", argv[1]);
            return EXIT_FAILURE;
        }
        std::printf("Bytes once the book is open: %zu, at most %zu\n", heap.bytes, heap.peak);
        heap.peak = heap.bytes;
        const Counts counts = PageThrough(render);
        std::printf("Bytes at most while paging %ld screens: %zu\n", counts.screens, heap.peak);
        std::printf("Bytes of the largest block: %zu\n", heap.largest);
        counts.turnsInside.Print("Allocations of a turn inside a segment");
        counts.drawings.Print("Allocations of drawing a screen");
        counts.turnsBetween.Print("Allocations of a turn to another segment");
        std::printf("Bytes that Pango keeps for a segment, not counted above: %zu\n",
                    KeptByPango(render));
    }
    std::printf("Bytes left in the end: %zu\n", heap.bytes);
    return EXIT_SUCCESS;
}
