// The commands of the reading window and what they lead to, over real books.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>

#include <gtest/gtest.h>

#include "common/Failure.h"
#include "session/KeyFile.h"
#include "session/Session.h"
#include "session/Shelf.h"
#include "tools/UmdBookWriter.h"

namespace {

namespace fs = std::filesystem;
using umdhost::Place;
using umdread::Session;
using umdread::Settings;
using umdread::Turn;

class SessionTest : public testing::Test {
protected:
    SessionTest() {
        std::string folder = (fs::temp_directory_path() / "umdread-XXXXXX").string();
        m_folder = mkdtemp(folder.data());
    }
    ~SessionTest() override { fs::remove_all(m_folder); }

    std::string Write(const umdbook::Book& book, const umdbook::Options& options = {}) const {
        const umdbook::Bytes bytes = umdbook::WriteBook(book, options);
        std::string path = (m_folder / "book.umd").string();
        std::ofstream(path, std::ios::binary) << std::string(bytes.begin(), bytes.end());
        return path;
    }
    static umdbook::Book Sample(const std::string& name) {
        std::ifstream file(TEST_SAMPLES "/" + name + ".txt");
        return umdbook::BookFromText({std::istreambuf_iterator<char>(file), {}});
    }
    static std::unique_ptr<Session> Open(const std::string& path) {
        auto session = std::make_unique<Session>(path, Settings());
        session->SetPage(600, 800, 1);
        return session;
    }
    static void TurnOn(Session& session, int pages) {
        for (int i = 0; i < pages; ++i)
            EXPECT_EQ(session.NextPage(), Turn::Done);
    }
    // As ReadingData reads it, from the disk.
    static Place SavedPlace(const std::string& path) {
        return umdread::ReadingData(path).ReadPlace().value_or(Place());
    }

    fs::path m_folder;
};

bool BeginsWith(const std::string& text, const std::string& begin) {
    return text.compare(0, begin.size(), begin) == 0;
}

// --- finding one's way --------------------------------------------------------------------------

TEST_F(SessionTest, EachCommandLeadsToItsPlace) {
    const std::string path = Write(Sample("art-of-war"));
    struct Row {
        const char* name;
        std::function<void(Session&)> command;
        std::function<bool(Session&)> holds;
    };
    const auto at = [](const Place& place) {
        return [place](Session& session) { return session.Here() == place; };
    };
    Place third;
    {
        const auto session = Open(path);
        session->GoToChapter(2);
        third = session->Here();
        session->GoToBegin();
    }
    const Row rows[] = {
        {"next and previous", [](Session& s) { s.NextPage(), s.PreviousPage(); }, at({})},
        {"chapter", [](Session& s) { s.GoToChapter(2); },
         [](Session& s) {
             return s.CurrentChapter() == 2U &&
                    BeginsWith(s.TextAt(s.Here()), s.Chapters()[2].title);
         }},
        {"no such chapter", [](Session& s) { s.GoToChapter(13); }, at({})},
        {"back",
         [](Session& s) {
             s.GoToChapter(2), s.NextPage(), s.GoToChapter(5), s.GoBack(), s.GoBack();
         },
         at({})},
        {"forward", [](Session& s) { s.GoToChapter(2), s.GoBack(), s.GoForward(); }, at(third)},
        {"a jump forgets what was forward",
         [](Session& s) { s.GoToChapter(5), s.GoBack(), s.GoToChapter(2), s.GoForward(); },
         at(third)},
        {"a drag is one jump",
         [](Session& s) { s.BeginDrag(), s.DragTo(0.3), s.DragTo(0.9), s.GoBack(); }, at({})},
        {"percentage begins with a paragraph", [](Session& s) { s.GoToFraction(0.5); },
         [](Session& s) {
             const std::string text = umdbook::ToUtf8(Sample("art-of-war").Text());
             const std::size_t found = text.find(s.TextAt(s.Here()));
             return s.Fraction() > 0.45 && s.Fraction() < 0.6 && found > 3 &&
                    text.substr(found - 3, 3) == "\u2029";
         }},
        {"end", [](Session& s) { s.GoToEnd(); },
         [](Session& s) { return s.Fraction() == 1 && s.NextPage() == Turn::AtEnd; }},
        {"past the end", [](Session& s) { s.GoToEnd(), s.NextPage(), s.GoBack(); }, at({})},
        {"begin", [](Session& s) { s.GoToEnd(), s.GoToBegin(); },
         [](Session& s) { return s.Fraction() == 0 && s.PreviousPage() == Turn::AtEnd; }},
        {"a place outside of the book",
         [](Session& s) {
             s.GoTo({100000, 0});
         },
         at({})},
        {"another size", [](Session& s) { s.GoToChapter(2), s.SetPage(1600, 900, 2); }, at(third)},
        {"other letters",
         [](Session& s) {
             Settings settings;
             settings.size = 40;
             settings.justified = false;
             s.GoToChapter(2), s.SetSettings(settings), s.SetSettings(Settings());
         },
         at(third)},
    };
    for (const Row& row : rows) {
        fs::remove(path + ".qvp");
        const auto session = Open(path);
        row.command(*session);
        EXPECT_TRUE(row.holds(*session))
            << row.name << ": " << session->Here().block << ":" << session->Here().offset;
    }
}

TEST_F(SessionTest, PagesFollowEachOtherWithoutAGap) {
    for (const char* sample : {"art-of-war", "alice"}) {
        const auto session = Open(Write(Sample(sample)));
        int pages = 1;
        for (Place begin = session->Here(); session->NextPage() == Turn::Done; ++pages) {
            EXPECT_TRUE(begin < session->Here());
            EXPECT_FALSE(session->IsShown(begin));
            EXPECT_TRUE(session->IsShown(session->Here()));
            EXPECT_TRUE(session->LineOf(session->Here()));
            begin = session->Here();
            session->Prepare();
        }
        EXPECT_EQ(session->Fraction(), 1);
        EXPECT_GT(pages, 8);
    }
}

TEST_F(SessionTest, TextThatCannotBeShownIsAnnouncedAndPassed) {
    std::u16string text;
    for (int i = 0; i < 4000; ++i)
        text += i % 40 == 39 ? u'\u2029' : static_cast<char16_t>(u'\u4e00' + i);
    text[64 * 30 + 63] = 0xD83D; // a character whose halves lie in two blocks
    text[64 * 30 + 64] = 0xDE00;
    const auto session = Open(Write({u"T", u"", u"", u"", u"", u"", u"", u"", {{u"C", text}}, {}}));
    Turn turn = Turn::Done;
    while ((turn = session->NextPage()) == Turn::Done)
        ASSERT_TRUE(session->Here() < (Place{31, 0}));
    ASSERT_EQ(turn, Turn::AtGap);
    EXPECT_TRUE(session->IsShown({29, 100})); // the last that can be read
    EXPECT_EQ(session->LastGap().bytes, 128);
    const Place before = session->Here();
    session->PassGap();
    EXPECT_EQ(session->Here(), (Place{31, 0}));
    EXPECT_EQ(session->PreviousPage(), Turn::AtGap);
    EXPECT_EQ(session->LastGap().bytes, 128);
    EXPECT_EQ(session->Here(), (Place{31, 0}));
    EXPECT_TRUE(session->GoBack());
    EXPECT_EQ(session->Here().block, before.block);
    EXPECT_TRUE(session->GoTo({30, 9}));
    EXPECT_EQ(session->Here(), (Place{31, 0}));
    EXPECT_EQ(session->PassedOver(), 128);
}

// --- search -------------------------------------------------------------------------------------

std::size_t Count(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at))
        at += part.size(), ++count;
    return count;
}

TEST_F(SessionTest, SearchFindsEachHitAtItsPlaceWhereverChunksEnd) {
    struct Row {
        const char* sample;
        const char* typed;
        const char* found; // as the text has it, in lower case
    };
    const Row rows[] = {{"alice", "RABBIT", "rabbit"}, {"alice", "alice's", "alice’s"},
                        {"alice", "the", "the"},       {"art-of-war", "孫子曰", "孫子曰"},
                        {"alice", "no such", ""},      {"art-of-war", "", ""}};
    for (const Row& row : rows) {
        umdbook::Options options;
        options.chunkBytes = 254; // ends inside blocks
        const umdbook::Book book = Sample(row.sample);
        std::string text = umdbook::ToUtf8(book.Text());
        std::transform(text.begin(), text.end(), text.begin(),
                       [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
        const auto session = Open(Write(book, options));
        session->StartSearch(row.typed);
        while (session->StepSearch())
            ;
        EXPECT_EQ(session->Hits().size(), *row.found ? Count(text, row.found) : 0) << row.typed;
        for (std::size_t i = 0; i < session->Hits().size(); ++i) {
            const umdread::Hit& hit = session->Hits()[i];
            EXPECT_TRUE(BeginsWith(session->TextAt(hit.place), hit.match)) << hit.match;
            EXPECT_TRUE(session->FollowHit(i));
            EXPECT_TRUE(session->IsShown(hit.place));
        }
    }
}

TEST_F(SessionTest, NextHitGoesOnFromThePageAndAroundTheEnds) {
    const auto session = Open(Write(Sample("art-of-war")));
    session->StartSearch("孫子曰");
    while (session->StepSearch())
        ;
    ASSERT_EQ(session->Hits().size(), 13U);
    session->GoToChapter(4);
    EXPECT_TRUE(session->NextHit(true));
    EXPECT_EQ(session->CurrentHit(), 4U);
    EXPECT_TRUE(session->NextHit(false));
    EXPECT_EQ(session->CurrentHit(), 3U);
    session->FollowHit(12);
    EXPECT_TRUE(session->NextHit(true));
    EXPECT_EQ(session->CurrentHit(), 0U);
    session->StartSearch("");
    EXPECT_FALSE(session->NextHit(true));
}

// --- what is kept -------------------------------------------------------------------------------

TEST_F(SessionTest, PlaceIsSavedEvery20TurnsAndAtTheEnd) {
    const std::string path = Write(umdbook::Repeated(Sample("alice"), 200000));
    auto session = Open(path);
    TurnOn(*session, 19);
    EXPECT_EQ(SavedPlace(path), Place());
    TurnOn(*session, 1);
    EXPECT_EQ(SavedPlace(path), session->Here());
    TurnOn(*session, 3);
    const Place last = session->Here();
    session.reset();
    EXPECT_EQ(SavedPlace(path), last);
    EXPECT_EQ(Open(path)->Here(), last);
}

TEST_F(SessionTest, TwoWindowsOnABookLoseNeitherMarksNorThePlace) {
    const std::string path = Write(Sample("art-of-war"));
    auto one = Open(path);
    auto other = Open(path);
    one->GoToChapter(3);
    EXPECT_TRUE(one->ToggleBookmark());
    EXPECT_TRUE(other->SetNote(other->Here(), "first"));
    EXPECT_TRUE(other->ToggleBookmark());
    for (unsigned int i = 0; i < 40; ++i) // enough for the file to be written anew
        EXPECT_TRUE(one->SetNote({i, 0}, std::string(i * 40, 'n')));
    for (unsigned int i = 1; i < 40; ++i)
        EXPECT_TRUE(other->RemoveNote({i, 0}));
    TurnOn(*one, 2);
    const Place last = one->Here();
    one.reset();
    other.reset(); // its place did not change
    const auto again = Open(path);
    EXPECT_EQ(again->Here(), last);
    EXPECT_EQ(again->Bookmarks().size(), 2U);
    ASSERT_EQ(again->Notes().size(), 0U); // an empty note is none
}

TEST_F(SessionTest, MarksCanBeSetChangedAndRemoved) {
    const std::string path = Write(Sample("art-of-war"));
    auto session = Open(path);
    TurnOn(*session, 1);
    EXPECT_TRUE(session->ToggleBookmark());
    EXPECT_TRUE(session->IsBookmarked());
    EXPECT_TRUE(session->SetNote(session->Here(), "兵\nwar"));
    EXPECT_TRUE(session->SetNote(session->Here(), "兵 war"));
    session = Open(path);
    ASSERT_TRUE(session->IsBookmarked());
    ASSERT_NE(session->NoteHere(), nullptr);
    EXPECT_EQ(session->NoteHere()->note, "兵 war");
    session->PreviousPage();
    EXPECT_FALSE(session->IsBookmarked());
    EXPECT_EQ(session->NoteHere(), nullptr);
    session->NextPage();
    EXPECT_TRUE(session->ToggleBookmark());
    EXPECT_TRUE(session->SetNote(session->Here(), ""));
    session = Open(path);
    EXPECT_TRUE(session->Bookmarks().empty());
    EXPECT_TRUE(session->Notes().empty());
}

TEST_F(SessionTest, ReadingDataThatCannotBeWrittenIsSaidAndReadingGoesOn) {
    const std::string path = Write(Sample("art-of-war"));
    fs::create_directory(path + ".qvp");
    const auto session = Open(path);
    EXPECT_FALSE(session->CheckSaving());
    EXPECT_TRUE(session->TakeSavingFailed());
    EXPECT_FALSE(session->TakeSavingFailed());
    EXPECT_FALSE(session->ToggleBookmark());
    EXPECT_TRUE(session->TakeSavingFailed());
    EXPECT_TRUE(session->Bookmarks().empty());
    TurnOn(*session, 3);
    EXPECT_FALSE(session->SavePlace());
    EXPECT_FALSE(session->TakeSavingFailed()); // of the place it was said before
}

TEST_F(SessionTest, SavedPlaceOutsideOfTheBookOpensItsBeginning) {
    const std::string path = Write(Sample("art-of-war"));
    umdread::ReadingData(path).SavePlace({99999, 7});
    EXPECT_EQ(Open(path)->Here(), Place());
}

TEST_F(SessionTest, SettingsComeBackAndADamagedFileIsSetAside) {
    const std::string folder = (m_folder / "new" / "config").string();
    Settings settings;
    settings.family = "A, B";
    settings.size = 900;
    settings.theme = umdread::Theme::Dark;
    settings.justified = false;
    EXPECT_TRUE(umdread::SaveSettings(folder, settings));
    EXPECT_EQ(umdread::LoadSettings(folder).family, "A, B");
    EXPECT_EQ(umdread::LoadSettings(folder).size, 72);
    EXPECT_EQ(umdread::LoadSettings(folder).theme, umdread::Theme::Dark);
    EXPECT_FALSE(umdread::LoadSettings(folder).justified);
    std::ofstream(folder + "/settings.ini") << "[Type\nsize=\xff";
    EXPECT_EQ(umdread::LoadSettings(folder).size, Settings::kDefaultSize);
    EXPECT_TRUE(fs::exists(folder + "/settings.ini.damaged"));
    std::ofstream(folder + "/settings.ini") << "[Type]\nsize=many\ntheme=77\n";
    EXPECT_EQ(umdread::LoadSettings(folder).size, Settings::kDefaultSize);
    EXPECT_EQ(umdread::LoadSettings(folder).theme, umdread::Theme::Dark);
}

TEST_F(SessionTest, ShelfHasTheLatestFirstAndNoneThatIsGone) {
    const umdread::Shelf shelf((m_folder / "config").string());
    const auto path = [this](int i) { return (m_folder / std::to_string(i)).string(); };
    for (int i = 0; i < 40; ++i) {
        std::ofstream(path(i)) << "book";
        shelf.Put({path(i), "T" + std::to_string(i), "A;=\n", i / 40.0});
    }
    shelf.Put({path(20), "again", "", 0.5});
    fs::remove(path(39));
    const auto books = shelf.Books();
    ASSERT_EQ(books.size(), umdread::Shelf::kMostBooks - 1);
    EXPECT_EQ(books[0].title, "again");
    EXPECT_EQ(books[0].fraction, 0.5);
    EXPECT_EQ(books[1].title, "T38");
    EXPECT_EQ(books[1].author, "A;=\n");
}

TEST_F(SessionTest, HostileBooksAreRefusedWithAReasonOrCanBeRead) {
    for (const auto& seed : fs::directory_iterator(TEST_FUZZ_SEEDS)) {
        const fs::path copy = m_folder / seed.path().filename(); // reading data go beside it
        fs::copy_file(seed.path(), copy);
        try {
            const auto session = Open(copy.string());
            while (session->NextPage() == Turn::Done)
                ;
            session->GoToEnd();
            session->StartSearch("a");
            while (session->StepSearch())
                ;
        } catch (const umdhost::Failure& failure) {
            EXPECT_TRUE(BeginsWith(failure.what(), copy.string() + ": ")) << failure.what();
        }
    }
}

} // namespace
