#include "bench/Cases.h"

#include <stdexcept>
#include <utility>

#include "CreateFormatRenderInstance.h"

namespace bench {

namespace {

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
        : Case("opening a book of " + size, kLimit), m_sPath(path), m_Book(path) {}

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

// What all cases share that draw screens of one book.
struct Readers {
    explicit Readers(const std::string& path) : bareBook(path) { ours.Open(path); }

    void BareLoad(BarePango& bare, const Place& place) const {
        const std::string text = bareBook.Text(place.block * kBlockBytes, kSegmentBytes);
        const auto offset = static_cast<std::size_t>(place.offset);
        bare.LayOut(text.data() + offset, static_cast<int>(text.size() - offset));
    }

    ProbeRender ours;
    BareBook bareBook;
    BarePango barePango; // warm
};

// Both sides begin with a new font map: the fonts are loaded, and the glyphs drawn anew.
class FirstScreen : public Case {
public:
    FirstScreen(const std::string& path, std::shared_ptr<Readers> readers)
        : Case("first screen", kLoadLimit), m_sPath(path), m_pReaders(std::move(readers)) {
        m_pReaders->ours.GotoPosition(0);
        m_Screen = m_pReaders->ours.TurnFrom({});
    }

    void Prepare(std::size_t) override {
        m_pOurs.reset();
        m_pOurs = Open(m_sPath);
        m_pBare = std::make_unique<BarePango>();
    }
    void Ours(std::size_t, Image& image) override {
        m_pOurs->DrawCurScreen({0, image.data(), kHeight, kWidth, kWidth}, 0, 0);
    }
    void Bare(std::size_t, Image& image) override {
        m_pReaders->BareLoad(*m_pBare, m_Screen.to);
        m_pBare->Draw(m_Screen.page.text, image);
    }
    const Page* Drawn(std::size_t) const override { return &m_Screen.page; }

private:
    std::string m_sPath;
    std::shared_ptr<Readers> m_pReaders;
    Turn m_Screen;
    RenderPtr m_pOurs;
    std::unique_ptr<BarePango> m_pBare;
};

class Turning : public Case {
public:
    using Step = QvFormat::QVRESULT (*)(ProbeRender&, const Turn&);

    Turning(const char* name, Step step, std::vector<Turn> turns, bool loads,
            std::shared_ptr<Readers> readers)
        : Case(name, loads ? kLoadLimit : kLimit), m_pStep(step), m_Turns(std::move(turns)),
          m_bLoads(loads), m_pReaders(std::move(readers)) {
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
            m_pReaders->BareLoad(m_pReaders->barePango, At(round).to);
        m_pReaders->barePango.Draw(At(round).page.text, image);
    }
    const Page* Drawn(std::size_t round) const override { return &At(round).page; }

private:
    const Turn& At(std::size_t round) const { return m_Turns[round % m_Turns.size()]; }

    Step m_pStep;
    std::vector<Turn> m_Turns;
    bool m_bLoads;
    std::shared_ptr<Readers> m_pReaders;
};

} // namespace

std::unique_ptr<Case> NewOpening(const std::string& size, const std::string& path) {
    return std::make_unique<Opening>(size, path);
}

Cases NewScreenCases(const std::string& path, std::size_t rounds) {
    const auto readers = std::make_shared<Readers>(path);
    const Turns turns = RecordTurns(readers->ours, rounds);
    const auto next = [](ProbeRender& render, const Turn&) { return render.GotoNextScreen(); };
    const auto previous = [](ProbeRender& render, const Turn&) { return render.GotoPrevScreen(); };
    const auto jump = [](ProbeRender& render, const Turn& turn) {
        return render.GotoPosition(turn.fraction);
    };
    Cases cases;
    const auto add = [&](const char* name, Turning::Step step, const std::vector<Turn>& to,
                         bool loads) {
        cases.push_back(std::make_unique<Turning>(name, step, to, loads, readers));
    };
    cases.push_back(std::make_unique<FirstScreen>(path, readers));
    add("turn inside a segment", next, turns.inside, false);
    add("turn into the next segment", next, turns.forward, true);
    add("turn back into the segment before", previous, turns.back, true);
    add("jump", jump, turns.jumps, true);
    return cases;
}

} // namespace bench
