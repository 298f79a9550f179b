#include "bench/ProbeRender.h"

#include <stdexcept>

#include "base/CFileStream.h"
#include "layout/CPangoLayout.h"

namespace bench {

namespace {

class ProbeLayout : public QvFormat::CPangoLayout {
public:
    using CPangoLayout::CPangoLayout;
    Page PageFrom(int line);
};

Page ProbeLayout::PageFrom(int line) {
    const int end = GetPageEndLine(line) + 1;
    int rest = line;
    while (rest < end && !BeginsParagraph(rest))
        ++rest;
    const auto offsetOf = [this](int behind) { return behind ? LineEnd(behind - 1) : 0; };
    const int begin = offsetOf(line);
    return {std::string(m_pText.get() + begin, m_pText.get() + offsetOf(end)),
            static_cast<std::size_t>(offsetOf(rest) - begin)};
}

} // namespace

void ProbeRender::Open(const std::string& path) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(path.c_str());
    std::string mutablePath = path;
    if (Initialize(new QvFormat::CFileStream(bytes, QvFormat::FileOpenRead),
                   new ProbeLayout("fzlth 18", kWidth, kHeight, 72, 72),
                   mutablePath.data()) != QvFormat::QV_S_OK)
        throw std::runtime_error(path + " does not open");
}

void ProbeRender::GoTo(const Place& place) {
    if (!UmdSetText(place.block, place.offset))
        throw std::runtime_error("a segment cannot be loaded");
    m_nCurLine = place.line;
}

void ProbeRender::Draw(Image& image) {
    DrawCurScreen({0, image.data(), kHeight, kWidth, kWidth}, 0, 0);
}

Place ProbeRender::Here() const {
    return {m_nFirstBlock, m_nStartOffset, m_nCurLine};
}

Turn ProbeRender::TurnFrom(const Place& from) const {
    return {from, Here(), static_cast<ProbeLayout*>(m_pLayout.get())->PageFrom(m_nCurLine)};
}

Turns RecordTurns(ProbeRender& render, std::size_t count) {
    Turns turns;
    const auto add = [count](std::vector<Turn>& to, const Turn& turn) {
        if (to.size() < count)
            to.push_back(turn);
    };
    render.GotoPosition(0);
    Place from = render.Here();
    while (turns.forward.size() < count && render.GotoNextScreen() == QvFormat::QV_S_OK) {
        const Turn turn = render.TurnFrom(from);
        add(turn.Loads() ? turns.forward : turns.inside, turn);
        from = render.Here();
    }
    while (turns.back.size() < count && render.GotoPrevScreen() == QvFormat::QV_S_OK) {
        const Turn turn = render.TurnFrom(from);
        if (turn.Loads())
            add(turns.back, turn);
        from = render.Here();
    }
    for (std::size_t i = 0; i < count; ++i) {
        const float fraction = static_cast<float>(i) / static_cast<float>(count);
        render.GotoPosition(fraction);
        turns.jumps.push_back(render.TurnFrom({}));
        turns.jumps.back().fraction = fraction;
    }
    return turns;
}

} // namespace bench
