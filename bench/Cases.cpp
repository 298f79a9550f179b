#include "bench/Cases.h"

#include <stdexcept>
#include <utility>

#include "CreateFormatRenderInstance.h"

namespace bench {

namespace {

constexpr double kLoadLimit = 0.90; // where a segment is loaded

constexpr int kBlockBytes = 128;
constexpr int kSegmentBytes = 80 * kBlockBytes;

using RenderPtr = std::unique_ptr<QvFormat::IFormatRender>;

// As a host opens a book. All but the first time, its reading-data file is there and is read.
RenderPtr Open(const std::string& path) {
    QvFormat::IFormatRender* render = nullptr;
    if (CreateFormatRenderInstance(path.c_str(), &render) != QvFormat::QV_S_OK)
        throw std::runtime_error(path + " does not open");
    return RenderPtr(render);
}

class Opening : public Case {
public:
    Opening(const std::string& size, const std::string& path)
        : Case("opening a book of " + size, 1.10), m_sPath(path), m_Book(path) {}

    void Prepare(std::size_t) override {
        m_pOurs.reset();
        m_pBare.reset();
    }
    void Ours(std::size_t, Image&) override { m_pOurs = Open(m_sPath); }
    void Bare(std::size_t, Image&) override {
        m_pBare = std::make_unique<BarePango>();
        m_Book.InflateAll();
    }

private:
    std::string m_sPath;
    BareBook m_Book;
    RenderPtr m_pOurs;
    std::unique_ptr<BarePango> m_pBare;
};

// A new font map on both sides: the fonts are loaded, and the glyphs drawn anew.
class FirstScreen : public Case {
public:
    explicit FirstScreen(const std::string& path)
        : Case("first screen", 1.05), m_sPath(path), m_Book(path) {}

    void Prepare(std::size_t) override {
        m_pOurs.reset();
        m_pOurs = Open(m_sPath);
        m_pBare = std::make_unique<BarePango>();
    }
    void Ours(std::size_t, Image& image) override {
        m_pOurs->DrawCurScreen({0, image.data(), kHeight, kWidth, kWidth}, 0, 0);
    }
    void Bare(std::size_t, Image& image) override {
        m_pBare->Draw(m_pBare->LayOut(m_Book.Text(0, kSegmentBytes)), image);
    }

private:
    std::string m_sPath;
    BareBook m_Book;
    RenderPtr m_pOurs;
    std::unique_ptr<BarePango> m_pBare;
};

// What all cases share that draw screens of one book.
struct Readers {
    explicit Readers(const std::string& path) : bareBook(path) { ours.Open(path); }

    void BareLoad(const ScreenPlace& place) {
        const std::string text = bareBook.Text(place.block * kBlockBytes, kSegmentBytes);
        barePango.LayOut(text.substr(static_cast<std::size_t>(place.offset)));
    }

    ProbeRender ours;
    BareBook bareBook;
    BarePango barePango; // warm
};

using Step = QvFormat::QVRESULT (*)(ProbeRender&, const Turn&);

class Turning : public Case {
public:
    Turning(const std::string& name, double limit, Step step, std::vector<Turn> turns, bool loads,
            std::shared_ptr<Readers> readers)
        : Case(name, limit), m_pStep(step), m_Turns(std::move(turns)), m_bLoads(loads),
          m_pReaders(std::move(readers)) {
        if (m_Turns.empty())
            throw std::runtime_error("the book has no " + Name());
    }

    void Prepare(std::size_t round) override { m_pReaders->ours.GoTo(At(round).from); }
    void Ours(std::size_t round, Image& image) override {
        m_pStep(m_pReaders->ours, At(round));
        m_pReaders->ours.Draw(image);
    }
    void Bare(std::size_t round, Image& image) override {
        if (m_bLoads)
            m_pReaders->BareLoad(At(round).to);
        m_pReaders->barePango.Draw(At(round).text, image);
    }

protected:
    const Turn& At(std::size_t round) const { return m_Turns[round % m_Turns.size()]; }

    Step m_pStep;
    std::vector<Turn> m_Turns;
    bool m_bLoads; // on the bare side
    std::shared_ptr<Readers> m_pReaders;
};

// As a host does that uses the time between two turns.
class PreparedTurning : public Turning {
public:
    using Turning::Turning;

    void Prepare(std::size_t round) override {
        Turning::Prepare(round);
        m_pReaders->ours.Draw(m_Image);
        m_pReaders->ours.PrepareNextScreen();
    }

private:
    Image m_Image = Image(std::size_t{kWidth} * kHeight);
};

class SlowestTurning : public PreparedTurning {
public:
    using PreparedTurning::PreparedTurning;

    std::size_t Rounds(std::size_t) const override { return 100; }
    bool CountsSlowest() const override { return true; }
};

// From the first screen to the last, without a pause.
class WholeBook : public Turning {
public:
    using Turning::Turning;

    void Prepare(std::size_t) override { m_pReaders->ours.GotoPosition(0); }
    void Ours(std::size_t, Image& image) override {
        for (std::size_t i = 0; i < m_Turns.size(); ++i)
            Turning::Ours(i, image);
    }
    void Bare(std::size_t, Image& image) override {
        for (std::size_t i = 0; i < m_Turns.size(); ++i)
            Turning::Bare(i, image);
    }
    std::size_t Rounds(std::size_t) const override { return 1; }
    std::size_t Screens() const override { return m_Turns.size(); }
};

} // namespace

std::unique_ptr<Case> NewOpening(const std::string& size, const std::string& path) {
    return std::make_unique<Opening>(size, path);
}

std::unique_ptr<Case> NewFirstScreen(const std::string& path) {
    return std::make_unique<FirstScreen>(path);
}

Cases NewScreenCases(const std::string& language, const std::string& path, double insideLimit,
                     double wholeBookLimit, std::size_t jumps) {
    const auto readers = std::make_shared<Readers>(path);
    const Turns turns = RecordTurns(readers->ours, jumps);
    const auto inside = Those(turns.forward, false);
    const auto into = Those(turns.forward, true);
    const auto next = [](ProbeRender& render, const Turn&) { return render.GotoNextScreen(); };
    const auto previous = [](ProbeRender& render, const Turn&) { return render.GotoPrevScreen(); };
    const auto jump = [](ProbeRender& render, const Turn& turn) {
        return render.GotoPosition(turn.fraction);
    };
    Cases cases;
    const auto add = [&](auto made) { cases.push_back(std::move(made)); };
    const auto turn = [&](const char* name, double limit, Step step, const std::vector<Turn>& to,
                          bool loads) {
        add(std::make_unique<Turning>(language + ": " + name, limit, step, to, loads, readers));
    };
    turn("turn inside a segment", insideLimit, next, inside, false);
    turn("turn back inside a segment", insideLimit, previous, Those(turns.back, false), false);
    turn("turn into the next segment", kLoadLimit, next, into, true);
    turn("turn back into the segment before", kLoadLimit, previous, Those(turns.back, true), true);
    turn("jump", kLoadLimit, jump, turns.jumps, true);
    add(std::make_unique<PreparedTurning>(language + ": turn into the next segment, prepared",
                                          insideLimit, next, into, false, readers));
    add(std::make_unique<SlowestTurning>(language + ": slowest hundredth of all turns, prepared", 0,
                                         next, turns.forward, false, readers));
    add(std::make_unique<WholeBook>(language + ": a screen of the whole book", wholeBookLimit, next,
                                    turns.forward, false, readers));
    return cases;
}

} // namespace bench
