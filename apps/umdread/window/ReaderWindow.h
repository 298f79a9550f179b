#pragma once

#include <memory>
#include <string>

#include <gtkmm/applicationwindow.h>
#include <gtkmm/button.h>
#include <gtkmm/filechoosernative.h>
#include <gtkmm/headerbar.h>
#include <gtkmm/infobar.h>
#include <gtkmm/label.h>
#include <gtkmm/menubutton.h>
#include <gtkmm/overlay.h>
#include <gtkmm/revealer.h>
#include <gtkmm/stack.h>
#include <gtkmm/togglebutton.h>

#include "session/Session.h"
#include "window/NoteDialog.h"
#include "window/PageView.h"
#include "window/PlaceBar.h"
#include "window/ShelfView.h"
#include "window/SidePanel.h"
#include "window/TypePopover.h"

namespace umdread {

class Application;

// One book, or the shelf. Hands what the reader does to the session and shows what comes of it.
class ReaderWindow : public Gtk::ApplicationWindow {
public:
    explicit ReaderWindow(Application& application);
    ~ReaderWindow() override;

    // Of the book shown; empty on the shelf.
    std::string BookPath() const { return m_pSession != nullptr ? m_pSession->Path() : ""; }
    void OpenBook(const std::string& path);
    void ShowShelf();
    void ApplySettings();
    void SavePlace();

private:
    // Building.
    void BuildHeader();
    void BuildBody();
    void BuildPage();
    void AddCommands();
    void AddCommand(const char* name, void (ReaderWindow::*command)());
    void ListenToPanel();
    void ListenToKeys();
    void ListenToFiles();
    void ListenToWindow();

    // Commands.
    void Turn(bool forward);
    void GoToBegin();
    void GoToEnd();
    void GoBack();
    void GoForward();
    void AskWhere();
    void TogglePanel();
    void OpenSearch();
    void NextHit() {
        FollowHit([this] { return m_pSession->NextHit(true); });
    }
    void PreviousHit() {
        FollowHit([this] { return m_pSession->NextHit(false); });
    }
    void ToggleBookmark();
    void WriteNote();
    void Larger() { SetSize(+1); }
    void Smaller() { SetSize(-1); }
    void NormalSize() { SetSize(0); }
    void ShowType();
    void ToggleFullscreen();
    void ChooseFile();
    void ShowAbout();

    bool OnKey(guint key, Gdk::ModifierType state);
    bool OnClose();
    void SetSize(int step);
    void Jumped(bool shown);
    void FollowHit(const std::function<bool()>& follow);
    void MarksChanged();
    void CloseBook();
    void PutOnShelf();

    // What is shown.
    void UpdatePage();
    void UpdatePlace();
    void SayWhetherSaved();
    void FitPanel();
    void SetBookControls(bool reading);
    void PrepareLater();
    void SayShortly(const Glib::ustring& text);
    void Notice(const Glib::ustring& text, bool offersToGoOn = false);
    void SayGap(const char* text, int bytes, bool offersToGoOn);
    void TraceFrame();

    Application& m_application;
    std::unique_ptr<Session> m_pSession;
    guint32 m_nKeyTime = 0; // of the key press that the next frame answers; milliseconds
    gint64 m_nKeyCpu = 0;   // the process's time then; microseconds

    Gtk::HeaderBar m_header;
    Gtk::ToggleButton m_panelButton;
    Gtk::Button m_backButton, m_searchButton;
    Gtk::Label m_title, m_subtitle;
    Gtk::MenuButton m_typeButton, m_menuButton;
    TypePopover m_type;
    Gtk::Box m_body{Gtk::Orientation::VERTICAL};
    Gtk::InfoBar m_notice;
    Gtk::Label m_noticeText;
    Gtk::Button m_goOn;
    Gtk::Stack m_views;
    ShelfView m_shelf;
    Gtk::Overlay m_reading;
    Gtk::Box m_column{Gtk::Orientation::VERTICAL};
    Gtk::Overlay m_pageOverlay;
    PageView m_page;
    Gtk::Revealer m_saying, m_panelSlide;
    Gtk::Label m_said;
    PlaceBar m_place;
    SidePanel m_panel;
    std::unique_ptr<NoteDialog> m_pNote;
    Glib::RefPtr<Gtk::FileChooserNative> m_pFiles;
    sigc::connection m_prepare, m_hush;
};

} // namespace umdread
