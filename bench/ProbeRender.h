#pragma once

#include <memory>
#include <string>
#include <vector>

#include "bench/BarePango.h"
#include "render/CUMDRenderImpl.h"

namespace bench {

// A place in the book as the renderer keeps it: the loaded segment and the first line of a screen.
struct Place {
    int block = 0;
    int offset = 0;
    int line = 0;
};

// One step from screen to screen, and the screen it ends on.
struct Turn {
    Place from;
    Place to;
    Page page;
    float fraction = 0; // of a jump

    bool Loads() const { return from.block != to.block || from.offset != to.offset; }
};

// The library's renderer, with a look at the bytes that it has Pango draw.
class ProbeRender : public QvFormat::CUMDRenderImpl {
public:
    void Open(const std::string& path); // throws std::runtime_error
    void GoTo(const Place& place);
    void Draw(Image& image);
    Turn TurnFrom(const Place& from) const; // the turn that ended on the screen shown
    Place Here() const;
};

// Steps of each kind, found by paging through a book: at most `count` of each.
struct Turns {
    std::vector<Turn> inside;
    std::vector<Turn> forward; // into the next segment
    std::vector<Turn> back;    // into the segment before
    std::vector<Turn> jumps;
};
Turns RecordTurns(ProbeRender& render, std::size_t count);

} // namespace bench
