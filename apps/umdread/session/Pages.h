#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "common/SavedPlace.h"
#include "layout/CPangoLayout.h"
#include "render/CUMDRenderImpl.h"

namespace umdread {

using umdhost::Place;

// How the text is set, in pixels of the image that pages are drawn into.
struct Setting {
    unsigned int width = 600;
    unsigned int height = 800;
    std::string font = "Serif 18"; // Pango's description, size in pixels
    unsigned int lineSpacing = 0;
    int indent = 0;
    bool justified = false;
};

// A stretch of text that cannot be shown.
struct Gap {
    int bytes = 0;             // of the book's text, left out when reading goes on after it
    std::optional<Place> next; // where reading goes on; none: nothing can be shown after it
};

enum class Turn { Done, AtEnd, AtGap };

// The screens of one book. Holds a renderer with a layout of its own, whose font and spacing the
// library's factory would not let a host choose.
class Pages {
public:
    // Throws umdhost::Failure, saying what is wrong with the file.
    explicit Pages(const std::string& path);

    // The screen shown keeps its first character.
    void Set(const Setting& setting);

    // Show a screen; false, with the screen as it was, when there is none to show. Where the text
    // at a place cannot be shown, the nearest that can be is.
    bool Show(const Place& place);
    bool ShowLast();
    // Shows the nearest readable screen, from the block or the screen shown (-1).
    bool ShowReadable(int block, bool forward);

    // Bytes of the book's text that the last Show passed over.
    int PassedOver() const { return m_nPassedOver; }

    // Turns to the next or the previous screen. At a gap the screen stays.
    Turn TurnPage(bool forward, Gap* gap);

    // Does what the next turn forward would have to load.
    void Prepare() { m_renderer.PrepareNextScreen(); }

    // Adds the screen to an image that holds no ink.
    void Draw(const QvFormat::QV_IMAGE& image) { m_renderer.DrawCurScreen(image, 0, 0); }

    const Place& Begin() const { return m_begin; }            // of the screen shown
    const std::optional<Place>& End() const { return m_end; } // after it; none: the book ends
    // The vertical middle of the line that holds a character of the screen shown; none elsewhere.
    std::optional<int> MiddleOfLine(const Place& place) const;

    int BlockCount() { return m_renderer.GetBlockCount(); }
    double FractionOf(const Place& place);

    // The text from a place to the end of its paragraph, as UTF-8 and at most `characters` long.
    std::string TextAt(const Place& place, long characters);

    // The begin of the paragraph nearest to a block, forward or backward from the place; the place
    // itself when none is near.
    Place ParagraphAfter(int block);
    Place ParagraphBefore(const Place& place);

    // True when most letters of the book's first blocks are Chinese.
    bool IsChinese();

private:
    struct Line {
        Place begin;
        int middle; // pixels from the top of the text
    };

    Gap LookAhead(bool forward);
    void Locate();
    bool Located();
    void LocateLines(const QvFormat::QVLayoutLineInfo* table, unsigned int count);
    std::optional<Place> PlaceOf(const QvFormat::QVLayoutLineInfo& line);
    std::optional<Place> AfterText(int offsetInside);
    std::string Bytes(int block);

    std::string m_sPath;
    QvFormat::CPangoLayout* m_pLayout; // the renderer's
    QvFormat::CUMDRenderImpl m_renderer;
    int m_nPassedOver = 0;
    Place m_begin;
    std::optional<Place> m_end;
    std::vector<Line> m_lines; // of the screen shown
};

} // namespace umdread
