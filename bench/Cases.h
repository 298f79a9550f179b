#pragma once

#include <memory>
#include <string>
#include <vector>

#include "bench/BareBook.h"
#include "bench/BarePango.h"
#include "bench/ProbeRender.h"

namespace bench {

// One piece of work, done by the library and done with bare Pango. Round i is the same on both
// sides; Prepare comes before each of them and is not measured.
class Case {
public:
    // `limit` is the most that the library may take of what bare Pango takes; 0: there is none.
    Case(std::string name, double limit) : m_sName(std::move(name)), m_nLimit(limit) {}
    virtual ~Case() = default;

    const std::string& Name() const { return m_sName; }
    double Limit() const { return m_nLimit; }

    virtual void Prepare(std::size_t round) = 0;
    virtual void Ours(std::size_t round, Image& image) = 0;
    virtual void Bare(std::size_t round, Image& image) = 0;

    // How many rounds to measure where `usual` ones would do, and the screens that each draws.
    virtual std::size_t Rounds(std::size_t usual) const { return usual; }
    virtual std::size_t Screens() const { return 1; }

    // Whether the library's slowest hundredth counts, in place of the middle.
    virtual bool CountsSlowest() const { return false; }

private:
    std::string m_sName;
    double m_nLimit;
};

using Cases = std::vector<std::unique_ptr<Case>>;

std::unique_ptr<Case> NewOpening(const std::string& size, const std::string& path);

// The first screen after opening.
std::unique_ptr<Case> NewFirstScreen(const std::string& path);

// Each kind of turn and the jump, and all screens of a book one after the other. The limits are
// those of turns that have nothing to load, and of the whole book.
Cases NewScreenCases(const std::string& language, const std::string& path, double insideLimit,
                     double wholeBookLimit, std::size_t jumps);

} // namespace bench
