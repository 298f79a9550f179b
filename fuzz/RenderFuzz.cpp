// Opens a hostile book over a stream in memory, reads it as a script says, and holds every result
// against what the reader of any book relies on.
//
// The input: how many blocks a segment has (1 byte); the reading data (1 byte, by which one input
// in five has hostile ones: 1 byte of length, then their bytes); the script (1 byte of length, then
// its bytes); the book's shape (4 bytes); its text. fuzz/HostileBook.h says how the last two are
// read.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <new>
#include <optional>
#include <utility>

#include <pango/pangoft2.h>
#include <unistd.h>

#include "base/CMemoryStream.h"
#include "fuzz/HostileBook.h"
#include "layout/CPangoLayout.h"
#include "render/CUMDRenderImpl.h"

using namespace QvFormat;

namespace {

constexpr std::size_t kBlockUnits = 64;
constexpr std::size_t kTextBlocks = 3;        // of text at most, for each block of a segment
constexpr std::size_t kImageBytes = 1U << 16; // of the biggest image

using BookPlace = std::optional<std::pair<int, int>>; // block, offset in it

void Require(bool holds, const char* promise) {
    if (holds)
        return;
    std::fprintf(stderr, "Broken: %s\n", promise);
    std::abort();
}

// What is asked of stream and layout is refused once, when `in` questions have passed; 0: never.
bool Refuses(unsigned& in) {
    return in > 0 && --in == 0;
}

struct FuzzStream : CMemoryStream {
    FuzzStream(unsigned char* buffer, long length, unsigned& refuseIn)
        : CMemoryStream(buffer, length), m_nRefuseIn(refuseIn) {}
    QVRESULT Read(unsigned char* buffer, int count, int* read) override {
        return Refuses(m_nRefuseIn) ? QV_E_FAIL : CMemoryStream::Read(buffer, count, read);
    }
    unsigned& m_nRefuseIn;
};

// As the factory makes it.
struct FuzzLayout : CPangoLayout {
    explicit FuzzLayout(unsigned& refuseIn)
        : CPangoLayout("fzlth 18", 600, 800, 72, 72), m_nRefuseIn(refuseIn) {
        SetWrap(QVLayoutWrapWordChar);
    }
    int GetLayoutRect(unsigned* width, unsigned* height) override {
        return !Refuses(m_nRefuseIn) && CPangoLayout::GetLayoutRect(width, height);
    }
    int GetLineTable(QVLayoutLineInfo** table, unsigned* count) override {
        return !Refuses(m_nRefuseIn) && CPangoLayout::GetLineTable(table, count);
    }
    unsigned& m_nRefuseIn;
};

struct FuzzRender : CUMDRenderImpl {
    explicit FuzzRender(int blocks) {
        m_nBlocksPerSegment = blocks;
        m_nSegmentBytes = blocks * m_nBlockSize;
        m_pBlockOffsets.reset(new int[static_cast<std::size_t>(blocks) + 1]);
    }

    // Where the screen shown begins, and where the text after it does. None: nothing was laid out,
    // or there is no text.
    BookPlace Shown() {
        if (m_nCurLine < 0)
            return std::nullopt;
        Require(!m_pLineTable || m_nCurLine < m_nLineCount, "the current line is in the table");
        return PlaceOf(m_pLineTable ? m_pLineTable[m_nCurLine].offset : 0);
    }
    BookPlace Following() {
        const int next = m_nCurLine + std::max(GetNextPageLineNum(m_nCurLine), 1);
        return next < m_nLineCount ? PlaceOf(m_pLineTable[next].offset) : std::nullopt;
    }

    BookPlace PlaceOf(int layoutOffset) {
        int block = -1;
        int offset = -1;
        if (!GetBlockInfo(layoutOffset, &block, &offset))
            return std::nullopt;
        Require(block >= 0 && block < m_nBlockCount && offset >= 0, "the place is in the book");
        return std::make_pair(block, offset);
    }
};

// One reader, who has done with the book when it does not open.
struct Session {
    int m_nBlocks; // of a segment
    std::u16string m_sText;
    std::string m_sPath;
    bool m_bKeepsPlace; // the reading data are the library's own
    fuzz::Input m_Script;
    std::vector<unsigned char> m_Book = {};
    unsigned m_nRefuseIn = 0;
    std::unique_ptr<FuzzRender> m_pRender = nullptr;

    void Run(fuzz::Input shape) {
        m_Book = fuzz::HostileBook(m_sText, shape);
        OpenAnew();
        using Step = void (Session::*)();
        static constexpr Step steps[] = {
            &Session::TurnForward, &Session::TurnForward, &Session::TurnForward, &Session::TurnBack,
            &Session::TurnBack,    &Session::TurnBack,    &Session::Jump,        &Session::GoTo,
            &Session::Reopen,      &Session::OpenAnother, &Session::RefuseSoon,  &Session::SetFonts,
            &Session::SetSize,     &Session::SetSize,     &Session::Draw,        &Session::Draw,
            &Session::Prepare,     &Session::PassOver};
        while (!m_Script.empty() && m_pRender)
            (this->*steps[TakeByte() % std::size(steps)])();
    }

    BookPlace FollowingWhenCalm() { return IsCalm() ? m_pRender->Following() : std::nullopt; }
    bool IsCalm() const { return m_nRefuseIn == 0; }
    unsigned TakeByte() { return fuzz::TakeByte(m_Script); }

    // Most are those of screens and fonts, some take any number of bits.
    unsigned TakeSize() {
        const unsigned byte = TakeByte();
        return byte < 96 ? byte : byte < 224 ? (byte - 90) * 8 : 1U << (byte - 224);
    }

    void OpenAnew() {
        m_pRender = std::make_unique<FuzzRender>(m_nBlocks);
        Initialize();
        unsigned char pixel = 0;
        if (m_pRender)
            m_pRender->DrawCurScreen({0, &pixel, 1, 1, 1}, 0, 0);
    }

    // Nothing is refused meanwhile: a book that ends early is another book.
    void Initialize() {
        const unsigned refuseIn = std::exchange(m_nRefuseIn, 0);
        auto* buffer = static_cast<unsigned char*>(::operator new(m_Book.size()));
        std::copy(m_Book.begin(), m_Book.end(), buffer);
        auto* stream = new FuzzStream(buffer, static_cast<long>(m_Book.size()), m_nRefuseIn);
        if (m_pRender->Initialize(stream, new FuzzLayout(m_nRefuseIn), m_sPath.data()) != QV_S_OK)
            m_pRender.reset();
        m_nRefuseIn = refuseIn;
    }

    // Of the same text, turned round at some place, in the same renderer.
    void OpenAnother() {
        const std::size_t middle = m_sText.size() * TakeByte() / 256;
        m_sText = m_sText.substr(middle) + m_sText.substr(0, middle);
        m_Book = fuzz::HostileBook(m_sText, m_Script);
        Initialize();
    }

    // The place is kept from one opening of a book to the next.
    void Reopen() {
        const BookPlace shown = m_pRender->Shown();
        const bool calm = IsCalm();
        m_pRender.reset();
        OpenAnew();
        Require(m_pRender != nullptr, "a book opens again");
        if (shown && calm && m_bKeepsPlace)
            Require(m_pRender->Shown() == shown, "the place is kept");
    }

    // A turn or a jump.
    template<typename Move>
    bool Moves(Move move) {
        const BookPlace from = m_pRender->Shown();
        const bool calm = IsCalm();
        const QVRESULT result = move();
        if (result != QV_S_OK)
            Require(!calm || m_pRender->Shown() == from, "what failed stays");
        return result == QV_S_OK && from && m_pRender->Shown();
    }

    void TurnForward() {
        const BookPlace from = m_pRender->Shown();
        const BookPlace following = FollowingWhenCalm();
        if (!Moves([this] { return m_pRender->GotoNextScreen(); }))
            return;
        Require(m_pRender->Shown() > from, "a turn forward moves on");
        Require(!following || m_pRender->Shown() == following, "going on passes over no text");
    }

    void TurnBack() {
        const BookPlace from = m_pRender->Shown();
        if (!Moves([this] { return m_pRender->GotoPrevScreen(); }))
            return;
        Require(m_pRender->Shown() < from, "a turn back moves back");
        const BookPlace end = FollowingWhenCalm();
        Require(!end || end >= from, "going back passes over no text");
    }

    void Jump() {
        const float fraction = static_cast<float>(TakeByte()) / 250; // some are past the end
        const auto last = static_cast<float>(m_pRender->GetBlockCount() - 1);
        if (Moves([&] { return m_pRender->GotoPosition(fraction); }))
            Require(m_pRender->Shown()->first >= static_cast<int>(fraction * last),
                    "a jump arrives");
    }

    void Prepare() {
        const BookPlace following = FollowingWhenCalm();
        QVRESULT prepared = QV_E_FAIL;
        Stays([&] { prepared = m_pRender->PrepareNextScreen(); });
        if (following && prepared == QV_S_OK && TakeByte() % 2 == 0)
            Require(m_pRender->GotoNextScreen() == QV_S_OK && m_pRender->Shown() == following,
                    "what was prepared is shown");
    }

    // Past what cannot be read: from the screen shown, or from a block.
    void PassOver() {
        const BookPlace from = m_pRender->Shown();
        const int block = static_cast<int>(TakeByte()) % 128 - 64;
        const bool forward = TakeByte() % 2 == 0;
        const bool calm = IsCalm();
        int passed = 0;
        const bool moved = Moves(
            [&] { return m_pRender->GotoReadableScreen(std::max(block, -1), forward, &passed); });
        Require(passed >= 0 && passed / 128 <= m_pRender->GetBlockCount(),
                "what was left out is text");
        Require(!moved || !calm || block >= 0 ||
                    (forward ? m_pRender->Shown() > from : m_pRender->Shown() < from),
                "passing over text moves");
    }

    void GoTo() {
        const int block = static_cast<int>(TakeByte());
        m_pRender->UmdSetText(block, static_cast<int>(TakeSize()));
    }

    void RefuseSoon() { m_nRefuseIn = TakeByte() % 32; }

    // What leaves the place alone.
    template<typename Change>
    void Stays(Change change) {
        const BookPlace shown = m_pRender->Shown();
        const bool calm = IsCalm();
        change();
        Require(!shown || !calm || m_pRender->Shown() == shown, "only turns and jumps move");
    }

    void SetSize() {
        const unsigned width = TakeSize();
        Stays([&] { m_pRender->SetScreenRes(width, TakeSize()); });
    }

    void SetFonts() {
        Stays([&] { m_pRender->SetFontSize(TakeSize()); });
        m_pRender->SetChineseFont("Serif");
        if (TakeByte() % 4 == 0)
            Stays([&] { m_pRender->SetFontDescription(); });
    }

    // Into an image with other bytes around it, which is not a valid one at times.
    void Draw() {
        const std::size_t width = std::clamp<std::size_t>(TakeSize(), 1, 4096);
        const std::size_t height = std::clamp<std::size_t>(TakeSize(), 1, kImageBytes / width);
        const unsigned shape = TakeByte();
        const bool isValid = shape % 16 != 0;
        const std::size_t stride = width + shape / 16;
        const std::vector<unsigned char> blank(stride * (height + 2), 0xA5);
        std::vector<unsigned char> pixels = blank;
        const QV_IMAGE image = {0, &pixels[stride], static_cast<int>(height),
                                static_cast<int>(width) * (isValid ? 1 : -1),
                                static_cast<int>(stride)};
        const int x = static_cast<int>(TakeSize() - 64);
        const int y = static_cast<int>(TakeSize() - 64);
        Stays([&] { m_pRender->DrawCurScreen(image, x, y); });
        for (std::size_t row = 1; isValid && row <= height; ++row)
            std::copy_n(&blank[row * stride], width, &pixels[row * stride]);
        Require(pixels == blank, "ink stays in the image");
    }
};

} // namespace

// These two stand before Pango's own in this program, so that all layouts share one font map, which
// counts 72 dots per inch from the start: loading the fonts anew would take most of a run's time.
extern "C" PangoFontMap* pango_ft2_font_map_new() {
    static gpointer fonts = nullptr;
    if (!fonts) {
        setenv("FONTCONFIG_FILE", FUZZ_FONTS_CONF, 1);
        fonts = g_object_new(PANGO_TYPE_FT2_FONT_MAP, nullptr);
    }
    return static_cast<PangoFontMap*>(g_object_ref(fonts));
}
extern "C" void pango_ft2_font_map_set_resolution(PangoFT2FontMap*, double, double) {}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::string path =
        (std::filesystem::temp_directory_path() / ("umdfuzz" + std::to_string(getpid()))).string();
    fuzz::Input input(data, size);
    const unsigned kind = fuzz::TakeByte(input) % 16;
    const int blocks = kind == 15 ? 80 : static_cast<int>(kind) + 2;
    const bool isHostile = fuzz::TakeByte(input) % 5 == 1;
    const fuzz::Input readingData = fuzz::Take(input, isHostile ? fuzz::TakeByte(input) : 0);
    if (isHostile)
        std::ofstream(path + ".qvp") << std::string(readingData.begin(), readingData.end());
    const fuzz::Input script = fuzz::Take(input, fuzz::TakeByte(input));
    const fuzz::Input shape = fuzz::Take(input, 4);
    const auto units = static_cast<std::size_t>(blocks) * kTextBlocks * kBlockUnits;
    Session{blocks, fuzz::HostileText(input, units), path, !isHostile, script}.Run(shape);
    std::filesystem::remove(path + ".qvp");
    return 0;
}
