#pragma once

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
    void ShowContents() { m_pages.set_visible_child("contents"); }
    void ShowSearch();
    bool IsSearching() const { return m_step.connected(); }

    // The rows follow the session.
    void UpdatePlace();
    void UpdateMarks();
    void UpdateHit();

    sigc::signal<void(std::size_t)>& SignalChapter() { return m_signalChapter; }
    sigc::signal<void(Place)>& SignalPlace() { return m_signalPlace; }
    sigc::signal<void(std::size_t)>& SignalHit() { return m_signalHit; }
    sigc::signal<void(bool forward)>& SignalNextHit() { return m_signalNextHit; }
    sigc::signal<void(Place)>& SignalRemoveBookmark() { return m_signalRemoveBookmark; }
    sigc::signal<void(Place)>& SignalRemoveNote() { return m_signalRemoveNote; }
    sigc::signal<void()>& SignalLeave() { return m_signalLeave; } // back to the page
    sigc::signal<void()>& SignalSearched() { return m_signalSearched; }

private:
    void AddPage(Gtk::Widget& page, const char* name, const Glib::ustring& title, const char* icon);
    Gtk::Box* MakeSearchPage();
    void ListenToEntry();
    void StartSearch();
    bool StepSearch();
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
    sigc::signal<void(std::size_t)> m_signalChapter;
    sigc::signal<void(Place)> m_signalPlace;
    sigc::signal<void(std::size_t)> m_signalHit;
    sigc::signal<void(bool)> m_signalNextHit;
    sigc::signal<void(Place)> m_signalRemoveBookmark;
    sigc::signal<void(Place)> m_signalRemoveNote;
    sigc::signal<void()> m_signalLeave;
    sigc::signal<void()> m_signalSearched;
};

} // namespace umdread
