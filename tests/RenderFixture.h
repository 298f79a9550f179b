// Books in memory, a renderer that can be looked into, and a record of what Pango is given to draw.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "IQVSequentialStream.h"
#include "layout/CPangoLayout.h"
#include "render/CUMDRenderImpl.h"
#include "tools/UmdBookWriter.h"

namespace fixture {

// Bytes of text in a long novel; an emulator, some twenty times as slow, gets a shorter one.
constexpr std::size_t kNovelBytes = TEST_EMULATED ? 256000 : 2000000;

class ProbeRender : public QvFormat::CUMDRenderImpl {
public:
    using CUMDRenderImpl::m_nCurLine;
    using CUMDRenderImpl::m_nFirstBlock;
    using CUMDRenderImpl::m_nFontSize;
    using CUMDRenderImpl::m_nLineCount;
    using CUMDRenderImpl::m_nSegmentBlocks;
    using CUMDRenderImpl::m_nStartOffset;
    using CUMDRenderImpl::m_pBlockOffsets;
    using CUMDRenderImpl::m_pChunkOffsets;
    using CUMDRenderImpl::m_pLayout;
    using CUMDRenderImpl::m_pLineTable;
    using CUMDRenderImpl::TextLineCount;
};

// A layout that counts the segments it is given.
class CountingLayout : public QvFormat::CPangoLayout {
public:
    using CPangoLayout::CPangoLayout;
    void SetText(const char* text, int length) override {
        ++loads;
        CPangoLayout::SetText(text, length);
    }
    int loads = 0;
};

// One line drawn.
struct Drawing {
    std::string text;
    int lines; // 1, or 0 for the empty line after a last separator
    int top;   // pixels on the image, rounded up
    int bottom;
};

// What was drawn since the last call.
std::vector<Drawing> TakeDrawings();

struct ScreenSetup {
    unsigned int width = 600;
    unsigned int height = 800;
    std::string font = "fzlth 18";
};

// A copy that a memory stream may own, and a stream on one.
unsigned char* Copy(const umdbook::Bytes& bytes);
QvFormat::IQVSequentialStream* NewStream(const umdbook::Bytes& bytes);

// A book of one chapter.
umdbook::Bytes TextBook(const std::u16string& text, const umdbook::Options& options = {});

// A renderer of a book; null when it does not open.
std::unique_ptr<ProbeRender> Open(const umdbook::Bytes& book, const ScreenSetup& setup = {});
std::unique_ptr<ProbeRender> OpenText(const std::u16string& text, const ScreenSetup& setup = {});

// The segments loaded since the last call.
int TakeLoads(ProbeRender& render);

// Draws the screen shown and returns the text on it.
std::string DrawText(QvFormat::IFormatRender& render, const ScreenSetup& setup = {});

// A book of the samples, and a text of running Chinese and English paragraphs.
umdbook::Book Sample(const std::string& name);
std::u16string Novel(std::size_t utf16Bytes);

} // namespace fixture
