#pragma once

#include <memory>
#include <string>

#include <giomm/simpleactiongroup.h>
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
    void ListenToPanel();
    void ListenToPlace();
    void ListenToKeys();
    void ListenToFiles();
    void ListenToWindow();

    // Commands.
    void Turn(bool forward);
    void PassGap();
    void OpenSearch();
    void ToggleBookmark();
    void WriteNote();
    void SetSize(int step);
    void ChooseFile();
    void ShowAbout();
    bool OnKey(guint key, Gdk::ModifierType state);
    bool OnClose();
    void CloseBook();
    void PutOnShelf();

    // What is shown.
    void Jumped(bool shown);
    void MarksChanged();
    void UpdatePage();
    void UpdatePlace();
    void FitPanel();
    void SetBookControls(bool reading);
    void PrepareLater();
    void SayShortly(const Glib::ustring& text);
    void SayWhetherSaved();
    void SayGap(const char* text, int bytes, bool offersToGoOn);
    void Notice(const Glib::ustring& text, bool offersToGoOn = false);
    void TraceFrame();

    Application& m_application;
    std::unique_ptr<Session> m_pSession;
    bool m_bDrawn = false;  // the page, since the last frame
    guint32 m_nKeyTime = 0; // of the key press that the next frame answers; milliseconds
    gint64 m_nKeyCpu = 0;   // the process's time then; microseconds

    // The commands that need a book.
    Glib::RefPtr<Gio::SimpleActionGroup> m_pCommands = Gio::SimpleActionGroup::create();
    Glib::RefPtr<Gio::SimpleAction> m_pBack, m_pForward;

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
