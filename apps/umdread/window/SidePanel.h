#pragma once

#include <optional>

#include <gtkmm/box.h>
#include <gtkmm/label.h>
#include <gtkmm/searchentry.h>
#include <gtkmm/stack.h>
#include <gtkmm/stackswitcher.h>
#include <sigc++/signal.h>

#include "session/Session.h"
#include "window/RowList.h"

namespace umdread {

// The contents, the bookmarks, the notes and the search, beside the page.
class SidePanel : public Gtk::Box {
public:
    SidePanel();
    ~SidePanel() override;

    void SetSession(Session* session);
    void ShowSearch();
    bool IsSearching() const { return m_step.connected(); }

    // The rows follow the session.
    void UpdatePlace();
    void UpdateMarks();

    void NextHit(bool forward);

    // What the session was told to do.
    sigc::signal<void(bool shown)>& SignalJumped() { return m_signalJumped; }
    sigc::signal<void()>& SignalFollowed() { return m_signalFollowed; } // a hit
    sigc::signal<void()>& SignalMarked() { return m_signalMarked; }
    sigc::signal<void()>& SignalSearched() { return m_signalSearched; }
    sigc::signal<void()>& SignalLeave() { return m_signalLeave; } // back to the page

private:
    void AddPage(Gtk::Widget& page, const char* name, const Glib::ustring& title, const char* icon);
    Gtk::Box* MakeSearchPage();
    void ListenToLists();
    void ListenToEntry();
    void StartSearch();
    bool StepSearch();
    void Followed();
    void SayHits(bool done);
    Row ChapterRow(unsigned int index) const;
    Row MarkRow(const Mark& mark) const;
    Row HitRow(unsigned int index) const;
    Glib::ustring PercentOf(const Place& place) const;
    Glib::ustring ChapterTitle(const Place& place) const;

    Session* m_pSession = nullptr;
    Gtk::StackSwitcher m_switcher;
    Gtk::Stack m_pages;
    RowList m_contents, m_bookmarks, m_notes, m_hits;
    Gtk::SearchEntry m_entry;
    Gtk::Label m_count;
    sigc::connection m_step;
    std::optional<bool> m_next; // asked for while the search goes on: the hit forward or backward
    sigc::signal<void(bool)> m_signalJumped;
    sigc::signal<void()> m_signalFollowed, m_signalMarked, m_signalSearched, m_signalLeave;
};

} // namespace umdread
