#pragma once

#include <cstddef>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "common/Chapters.h"
#include "session/History.h"
#include "session/Pages.h"
#include "session/ReadingData.h"
#include "session/Search.h"
#include "session/Settings.h"

namespace umdread {

// A rectangle of the page, in pixels of its image.
struct Box {
    int x = 0, y = 0, width = 0, height = 0;
};

// One book being read: all that a window's commands do, without the window. Knows no toolkit.
//
// The place is saved by SavePlace, after a jump, with a bookmark or note, when the session goes,
// and after every 20 turns. One that did not change since is not written, so that of two windows on
// a book the one read in decides.
class Session {
public:
    static constexpr int kTurnsUnsaved = 20;

    // Opens the book where it was left. Throws umdhost::Failure, saying what is wrong with the
    // file.
    Session(const std::string& path, const Settings& settings);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    const std::string& Path() const { return m_sPath; }
    const std::string& Title() const { return m_sTitle; }
    const std::string& Author() const { return m_sAuthor; }
    // Those that begin somewhere in the text.
    const std::vector<umdhost::Chapter>& Chapters() const { return m_chapters; }

    // --- the page ------------------------------------------------------------------------------
    // The page's size in pixels of its image, of which there are `scale` to one of the window's.
    void SetPage(int width, int height, int scale);
    void SetSettings(const Settings& settings);
    const Box& TextBox() const { return m_text; }
    std::string Font() const;

    // Adds the screen shown to an image of the page's size that holds no ink.
    void Draw(unsigned char* pixels, int stride);

    // To be called when there is time between two turns.
    void Prepare() { m_pages.Prepare(); }

    // --- finding one's way ----------------------------------------------------------------------
    Turn NextPage() { return TurnPage(true); }
    Turn PreviousPage() { return TurnPage(false); }
    const Gap& LastGap() const { return m_gap; } // what the last turn stopped at
    void PassGap();                              // goes on after it

    // Jumps; false, with the screen as it was, when there is nothing to show. Where text cannot be
    // shown, the nearest that can be is.
    bool GoTo(const Place& place);
    bool GoToFraction(double fraction);
    int PassedOver() const { return m_pages.PassedOver(); } // bytes left out by the last jump
    bool GoToChapter(std::size_t index);
    bool GoToBegin() { return GoTo(Place()); }
    bool GoToEnd();
    bool GoBack();
    bool GoForward();
    bool CanGoBack() const { return m_history.CanGoBack(); }
    bool CanGoForward() const { return m_history.CanGoForward(); }

    // A jump of many steps, such as a drag: the way back leads to where it began.
    void BeginDrag();
    bool DragTo(double fraction);

    const Place& Here() const { return m_pages.Begin(); }
    double Fraction(); // 0 at the begin, 1 on the last page
    double FractionOf(const Place& place) { return m_pages.FractionOf(place); }
    std::optional<std::size_t> CurrentChapter() const { return ChapterOf(Here()); }
    std::optional<std::size_t> ChapterOf(const Place& place) const;
    bool IsShown(const Place& place) const;
    std::optional<int> LineOf(const Place& place) const; // its middle, pixels from the page's top
    std::string TextAt(const Place& place) { return m_pages.TextAt(place, 80); }

    // --- bookmarks and notes; false: the reading-data file could not be written -----------------
    const Marks& Bookmarks() const { return m_data.Bookmarks(); }
    const Marks& Notes() const { return m_data.Notes(); }
    bool IsBookmarked() const; // the screen shown holds one
    bool ToggleBookmark();
    bool RemoveBookmark(const Place& place) { return Noted(m_data.RemoveBookmark(place)); }
    const Mark* NoteHere() const; // the first on the screen shown; null when there is none
    // An empty text removes the note.
    bool SetNote(const Place& place, const std::string& text);
    bool RemoveNote(const Place& place) { return Noted(m_data.RemoveNote(place)); }

    // --- search ---------------------------------------------------------------------------------
    void StartSearch(const std::string& text); // an empty one ends it
    bool StepSearch();                         // false when all is searched
    const std::vector<Hit>& Hits() const;
    std::optional<std::size_t> CurrentHit() const { return m_hit; }
    bool FollowHit(std::size_t index);
    bool NextHit(bool forward); // around both ends; false when there is none

    // --- keeping the place ----------------------------------------------------------------------
    // Says in advance whether saving will fail, as beside a book that only may be read.
    bool CheckSaving() { return NotedPlace(m_data.IsWritable()); }
    bool SavePlace(); // false: it could not be written
    // Whether a bookmark or note could not be kept since this was last asked, or the place, which
    // is said once.
    bool TakeSavingFailed() { return std::exchange(m_bSavingFailed, false); }

private:
    using FutureChapters = std::future<std::vector<umdhost::Chapter>>;
    Session(const std::string& path, const Settings& settings, FutureChapters chapters);

    Turn TurnPage(bool forward);
    bool Noted(bool written);
    bool NotedPlace(bool written);
    bool Show(const Place& place);
    bool Jump(const Place& place);
    void ApplySettings();
    void OpenWhereLeft();

    std::string m_sPath;
    std::string m_sTitle, m_sAuthor;
    Settings m_settings;
    int m_nScale = 1;
    int m_nWidth = 600, m_nHeight = 800;
    Box m_text;
    Pages m_pages;
    bool m_bChinese;
    ReadingData m_data;
    std::vector<umdhost::Chapter> m_chapters;
    History m_history;
    Gap m_gap;
    std::unique_ptr<Search> m_pSearch;
    std::optional<std::size_t> m_hit;
    bool m_bMoved = false; // since the place was saved
    int m_nTurns = 0;      // since then
    bool m_bKeepsPlace = true;
    bool m_bSavingFailed = false;
};

} // namespace umdread
