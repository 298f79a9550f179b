#include "bench/ProbeRender.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>
#include <utility>

#include "base/CFileStream.h"
#include "layout/CPangoLayout.h"

namespace bench {

namespace {

class ProbeLayout : public QvFormat::CPangoLayout {
public:
    using CPangoLayout::CPangoLayout;
    std::string TextFrom(int line);
};

std::string ProbeLayout::TextFrom(int line) {
    const auto end = static_cast<unsigned int>(GetPageEndLine(line) + 1);
    const int begin = m_pLineTable[line].offset;
    return {m_pText.get() + begin,
            m_pText.get() + (end < m_nLineCount ? m_pLineTable[end].offset : m_nTextLength)};
}

} // namespace

void ProbeRender::Open(const std::string& path) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(path.c_str());
    std::string mutablePath = path;
    auto* layout = new ProbeLayout("fzlth 18", kWidth, kHeight, 72, 72);
    layout->SetWrap(QvFormat::QVLayoutWrapWordChar); // as the factory does
    if (Initialize(new QvFormat::CFileStream(bytes, QvFormat::FileOpenRead), layout,
                   mutablePath.data()) != QvFormat::QV_S_OK)
        throw std::runtime_error(path + " does not open");
}

void ProbeRender::GoTo(const ScreenPlace& place) {
    if (!UmdSetText(place.block, place.offset))
        throw std::runtime_error("a segment cannot be loaded");
    m_nCurLine = place.line;
}

void ProbeRender::Draw(Image& image) {
    DrawCurScreen({0, image.data(), kHeight, kWidth, kWidth}, 0, 0);
}

ScreenPlace ProbeRender::Here() const {
    return {m_nFirstBlock, m_nStartOffset, m_nCurLine};
}

Turn ProbeRender::TurnFrom(const ScreenPlace& from) const {
    return {from, Here(), static_cast<ProbeLayout*>(m_pLayout.get())->TextFrom(m_nCurLine), 0};
}

std::vector<Turn> Those(const std::vector<Turn>& turns, bool load) {
    std::vector<Turn> those;
    std::copy_if(turns.begin(), turns.end(), std::back_inserter(those),
                 [load](const Turn& turn) { return turn.Loads() == load; });
    return those;
}

Turns RecordTurns(ProbeRender& render, std::size_t jumps) {
    Turns turns;
    render.GotoPosition(0);
    ScreenPlace from = render.Here();
    const auto add = [&](std::vector<Turn>& to) {
        to.push_back(render.TurnFrom(std::exchange(from, render.Here())));
    };
    while (render.GotoNextScreen() == QvFormat::QV_S_OK)
        add(turns.forward);
    while (render.GotoPrevScreen() == QvFormat::QV_S_OK)
        add(turns.back);
    for (std::size_t i = 0; i < jumps; ++i) {
        const float fraction = static_cast<float>(i) / static_cast<float>(jumps);
        render.GotoPosition(fraction);
        add(turns.jumps);
        turns.jumps.back().fraction = fraction;
    }
    return turns;
}

} // namespace bench
