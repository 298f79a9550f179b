// A book reopens where it was left: what the renderer keeps beside it, and when.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "IBookAnnotation.h"
#include "IBookInfoProxy.h"
#include "RenderFixture.h"
#include "readingdata/CBookAnnotationImpl.h"
#include "readingdata/CBookInfoManager.h"

using namespace QvFormat;
using namespace fixture;

namespace {

constexpr unsigned int kBlocks = kNovelBytes / 128;

class ReadingPositionTest : public testing::Test {
protected:
    ReadingPositionTest() {
        folder = testing::TempDir() + "position";
        std::filesystem::create_directory(folder);
        path = folder + "/book.umd";
    }
    ~ReadingPositionTest() override {
        std::remove(DataFile().c_str());
        std::remove(folder.c_str());
    }

    std::string DataFile() const { return path + ".qvp"; }

    std::string DataBytes() const {
        std::ifstream file(DataFile(), std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(file), {});
    }

    std::unique_ptr<ProbeRender> Reopen(const umdbook::Bytes& bytes) {
        auto render = std::make_unique<ProbeRender>();
        EXPECT_EQ(render->Initialize(NewStream(bytes), NewLayout(), path.data()), QV_S_OK);
        return render;
    }

    static CountingLayout* NewLayout() { return new CountingLayout("fzlth 18", 600, 800, 72, 72); }

    void Save(unsigned int block, unsigned int offset) {
        IBookInfoEntity* entity = nullptr;
        ASSERT_EQ(CBookInfoManager::GetBookInfoEntity(path.c_str(), &entity, 1), QV_S_OK);
        const std::unique_ptr<IBookInfoEntity> owner(entity);
        IBookInfoProxy* proxy = nullptr;
        entity->GetInfoProxy(&proxy, kCommonFileId);
        const std::unique_ptr<IBookInfoProxy> info(proxy);
        CBookAnnotationImpl bookmark(QvAnnotationPosition);
        bookmark.SetBlockIndex(block);
        bookmark.SetOffset(offset);
        EXPECT_EQ(info->SetReadingBookmark(&bookmark), QV_S_OK);
    }

    std::string folder;
    std::string path;
    const umdbook::Bytes novel = TextBook(Novel(kNovelBytes));
};

// Where the screen shown begins, to tell it from one with the same text.
std::string Begin(ProbeRender& render) {
    int block = -1;
    int offset = -1;
    EXPECT_EQ(render.GetCurPosition(&block, &offset), 1);
    return std::to_string(block) + ":" + std::to_string(offset);
}

TEST_F(ReadingPositionTest, EveryTenthScreenAndTheLastReopenWithTheirFirstCharacter) {
    auto render = Reopen(novel);
    DrawText(*render);
    int screens = 1;
    for (bool isLast = false; !isLast; ++screens) {
        isLast = render->GotoNextScreen() != QV_S_OK;
        if (screens % 10 && !isLast)
            continue;
        const std::string text = DrawText(*render);
        const std::string begin = Begin(*render);
        if (screens % 20)
            render->SetFontSize(static_cast<unsigned int>(10 + screens % 17)); // closed undrawn
        render.reset();
        render = Reopen(novel);
        ASSERT_EQ(DrawText(*render), text) << "screen " << screens;
        ASSERT_EQ(Begin(*render), begin) << "screen " << screens;
    }
    EXPECT_GT(screens, static_cast<int>(kNovelBytes / 5000));
}

TEST_F(ReadingPositionTest, BookReleasedWithoutDrawingKeepsItsPlace) {
    Reopen(novel);
    EXPECT_EQ(DataBytes(), std::string("QVP\1\0", 5)) << "made at the first opening, empty";
    Save(700, 40);
    const std::string saved = DataBytes();
    Reopen(novel);
    EXPECT_EQ(DataBytes(), saved);
    const auto render = Reopen(novel);
    EXPECT_EQ(Begin(*render), "700:40") << "where the first screen will begin";
}

TEST_F(ReadingPositionTest, PagingDoesNotWriteAndASecondBookDoes) {
    auto render = Reopen(novel);
    const std::string before = DataBytes();
    render->GotoPosition(0.5f);
    render->GotoNextScreen();
    EXPECT_EQ(DataBytes(), before);
    const std::string begin = Begin(*render);
    std::string other = folder + "/other.umd";
    EXPECT_EQ(render->Initialize(NewStream(novel), NewLayout(), other.data()), QV_S_OK);
    DrawText(*render);
    EXPECT_EQ(Begin(*render), "0:0");
    render.reset();
    std::remove((other + ".qvp").c_str());
    const auto again = Reopen(novel);
    DrawText(*again);
    EXPECT_EQ(Begin(*again), begin);
}

// What a damaged or foreign file may hold never keeps the book from being read.
TEST_F(ReadingPositionTest, SavedPlaceOutsideTheBookIsLeftByAJump) {
    for (const unsigned int block : {kBlocks, 0x7fffffffu, 0x80000000u, 0xffffffffu}) {
        Save(block, 0);
        auto render = Reopen(novel);
        EXPECT_EQ(DrawText(*render), "");
        EXPECT_EQ(render->GotoNextScreen(), QV_E_FAIL);
        EXPECT_EQ(render->GotoPrevScreen(), QV_E_FAIL);
        EXPECT_EQ(render->GotoPosition(0.25f), QV_S_OK);
        render.reset();
        EXPECT_EQ(Reopen(novel)->m_nFirstBlock, static_cast<int>((kBlocks - 1) / 4));
    }
    for (const unsigned int offset : {20000u, 0x80000000u}) {
        Save(33, offset);
        const auto render = Reopen(novel);
        DrawText(*render);
        EXPECT_EQ(Begin(*render), "33:0") << offset;
    }
}

// The segment that begins with the place's block cannot be loaded, but what stands before the cut.
TEST_F(ReadingPositionTest, PlaceBeforeACutCharacterIsShownAgain) {
    std::u16string text = Novel(40000);
    text.replace(64 * 100 - 1, 2, u"\U0001F600"); // cut by the end of block 99
    const umdbook::Bytes cut = TextBook(text);
    for (const bool resized : {false, true}) {
        auto render = Reopen(cut);
        render->GotoPosition(0.0f);
        while (render->GotoNextScreen() == QV_S_OK) {
        }
        const std::string begin = Begin(*render);
        EXPECT_NE(begin, "0:0");
        if (resized)
            render->SetScreenRes(600, 400);
        else
            render.reset(), render = Reopen(cut);
        EXPECT_NE(DrawText(*render), "");
        EXPECT_EQ(Begin(*render), begin);
        render->GotoPosition(0.0f);
    }
}

TEST_F(ReadingPositionTest, FileThatCannotBeUsedDoesNotKeepTheBookFromBeingRead) {
    std::ofstream(DataFile()) << "not reading data";
    auto render = Reopen(novel);
    EXPECT_NE(DrawText(*render), "");
    EXPECT_EQ(render->GotoNextScreen(), QV_S_OK);
    render.reset();
    EXPECT_EQ(DataBytes(), "not reading data");
    std::string nowhere = folder + "/missing/book.umd";
    ProbeRender reader;
    EXPECT_EQ(reader.Initialize(NewStream(novel), NewLayout(), nowhere.data()), QV_S_OK);
    EXPECT_NE(DrawText(reader), "");
}

} // namespace
