#pragma once

#include <memory>
#include <string>
#include <vector>

#include "bench/BarePango.h"
#include "render/CUMDRenderImpl.h"

namespace bench {

// A place in the book as the renderer keeps it: the loaded segment and the first line of a screen.
struct ScreenPlace {
    int block = 0;
    int offset = 0;
    int line = 0;
};

// One step from screen to screen, and the screen it ends on.
struct Turn {
    ScreenPlace from;
    ScreenPlace to;
    std::string text;   // of the screen, as UTF-8
    float fraction = 0; // of a jump

    bool Loads() const { return from.block != to.block || from.offset != to.offset; }
};

// The library's renderer, with a look at the text of its screens.
class ProbeRender : public QvFormat::CUMDRenderImpl {
public:
    void Open(const std::string& path); // throws std::runtime_error
    void GoTo(const ScreenPlace& place);
    void Draw(Image& image);
    Turn TurnFrom(const ScreenPlace& from) const; // the turn that ended on the screen shown
    ScreenPlace Here() const;
};

// The steps of paging through a book, forward and then back, and `jumps` of them elsewhere.
struct Turns {
    std::vector<Turn> forward;
    std::vector<Turn> back;
    std::vector<Turn> jumps;
};
Turns RecordTurns(ProbeRender& render, std::size_t jumps);

// Those that load a segment, or those that load none.
std::vector<Turn> Those(const std::vector<Turn>& turns, bool load);

} // namespace bench
