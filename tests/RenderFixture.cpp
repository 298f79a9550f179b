#include "RenderFixture.h"

#include <algorithm>
#include <fstream>
#include <random>
#include <sstream>
#include <stdexcept>
#include <utility>

#include <dlfcn.h>
#include <pango/pangoft2.h>

#include "base/CMemoryStream.h"

namespace {

std::vector<fixture::Drawing> drawings;

template<typename Function>
Function* Next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace

// Stands before Pango's own in this program, so that the lines drawn are seen. A line's text goes
// on to where the next one begins, its separator included.
extern "C" void pango_ft2_render_layout_line_subpixel(FT_Bitmap* bitmap, PangoLayoutLine* line,
                                                      int x, int y) {
    const std::string all = pango_layout_get_text(line->layout);
    const GSList* item = g_slist_find(pango_layout_get_lines_readonly(line->layout), line);
    const auto* after =
        item && item->next ? static_cast<PangoLayoutLine*>(item->next->data) : nullptr;
    const auto begin = static_cast<std::size_t>(line->start_index);
    const auto end = after ? static_cast<std::size_t>(after->start_index) : all.size();
    PangoRectangle logical;
    pango_layout_line_get_extents(line, nullptr, &logical);
    const int top = y + logical.y;
    drawings.push_back({all.substr(begin, end - begin), begin < end || all.empty(),
                        PANGO_PIXELS_CEIL(top), PANGO_PIXELS_CEIL(top + logical.height)});
    static const auto next = Next<decltype(pango_ft2_render_layout_line_subpixel)>(
        "pango_ft2_render_layout_line_subpixel");
    next(bitmap, line, x, y);
}

namespace fixture {

std::vector<Drawing> TakeDrawings() {
    return std::exchange(drawings, {});
}

int TakeLoads(ProbeRender& render) {
    return std::exchange(static_cast<CountingLayout*>(render.m_pLayout.get())->loads, 0);
}

unsigned char* Copy(const umdbook::Bytes& bytes) {
    auto* copy = static_cast<unsigned char*>(::operator new(bytes.size()));
    std::copy(bytes.begin(), bytes.end(), copy);
    return copy;
}

QvFormat::IQVSequentialStream* NewStream(const umdbook::Bytes& bytes) {
    return new QvFormat::CMemoryStream(Copy(bytes), static_cast<long>(bytes.size()));
}

umdbook::Bytes TextBook(const std::u16string& text, const umdbook::Options& options) {
    umdbook::Book book;
    book.chapters.push_back({u"", text});
    return umdbook::WriteBook(book, options);
}

std::unique_ptr<ProbeRender> Open(const umdbook::Bytes& book, const ScreenSetup& setup) {
    auto render = std::make_unique<ProbeRender>();
    auto* layout = new CountingLayout(setup.font.c_str(), setup.width, setup.height, 72, 72);
    char path[] = "/nonexistent/book.umd";
    if (render->Initialize(NewStream(book), layout, path) != QvFormat::QV_S_OK)
        return nullptr;
    return render;
}

std::unique_ptr<ProbeRender> OpenText(const std::u16string& text, const ScreenSetup& setup) {
    return Open(TextBook(text), setup);
}

std::string DrawText(QvFormat::IFormatRender& render, const ScreenSetup& setup) {
    std::vector<unsigned char> pixels(std::size_t{setup.width} * setup.height);
    const int width = static_cast<int>(setup.width);
    TakeDrawings();
    render.DrawCurScreen({0, pixels.data(), static_cast<int>(setup.height), width, width}, 0, 0);
    std::string text;
    for (const Drawing& drawing : drawings)
        text += drawing.text;
    return text;
}

umdbook::Book Sample(const std::string& name) {
    std::ifstream file(TEST_SAMPLES "/" + name, std::ios::binary);
    std::stringstream text;
    text << file.rdbuf();
    if (!file || text.str().empty())
        throw std::runtime_error("no sample " + name);
    return umdbook::BookFromText(text.str());
}

// The same text for the same length, on every machine.
std::u16string Novel(std::size_t utf16Bytes) {
    std::mt19937 random(20260101);
    const auto below = [&random](unsigned n) { return static_cast<unsigned>(random()) % n; };
    std::u16string text;
    while (text.size() * 2 < utf16Bytes) {
        const bool chinese = below(2) != 0;
        for (unsigned word = 5 + below(180); word > 0; --word) {
            if (chinese)
                text += static_cast<char16_t>(0x4e00 + below(3000));
            for (unsigned letter = chinese ? 0 : 1 + below(9); letter > 0; --letter)
                text += static_cast<char16_t>(u'a' + below(26));
            const unsigned mark = below(chinese ? 9 : 6);
            if (mark == 0)
                text += chinese ? (below(2) ? u'，' : u'。') : u',';
            if (mark == 1 && below(4) == 0)
                text += chinese ? u'「' : u'“';
            if (!chinese)
                text += u' ';
        }
        text += u"。\u2029";
    }
    text.resize(utf16Bytes / 2);
    text.back() = u'\u2029';
    return text;
}

} // namespace fixture
