#pragma once

#include <memory>
#include <string>
#include <vector>

#include "bench/BareBook.h"
#include "bench/BarePango.h"
#include "bench/ProbeRender.h"

namespace bench {

// The most that the library may take of what bare Pango takes.
constexpr double kLimit = 1.10;
constexpr double kLoadLimit = 1.15; // where a segment is loaded

// One piece of work, done by the library and done with bare Pango. Round i is the same on both
// sides; Prepare comes before each of them and is not measured.
class Case {
public:
    Case(std::string name, double limit) : m_sName(std::move(name)), m_nLimit(limit) {}
    virtual ~Case() = default;

    const std::string& Name() const { return m_sName; }
    double Limit() const { return m_nLimit; }

    virtual void Prepare(std::size_t round) = 0;
    virtual void Ours(std::size_t round, Image& image) = 0;
    virtual void Bare(std::size_t round, Image& image) = 0;

    // The screen drawn in a round, null when none is.
    virtual const Page* Drawn(std::size_t) const { return nullptr; }

private:
    std::string m_sName;
    double m_nLimit;
};

using Cases = std::vector<std::unique_ptr<Case>>;

std::unique_ptr<Case> NewOpening(const std::string& size, const std::string& path);

// The first screen, each kind of turn and the jump, in `rounds` different places of a book.
Cases NewScreenCases(const std::string& path, std::size_t rounds);

} // namespace bench
