#pragma once

#include <utility>

#include <pango/pango.h>

#include "base/OwnedArray.h"
#include "layout/CPangoLayout.h"

namespace QvFormat {

// The lines of a text as Pango laid them out, kept to be drawn page by page. A page drawn from them
// looks as it does when the whole text is drawn at once.
class KeptLines {
public:
    // Lays out the text that `settings` holds, under its settings; it stays as it is. `continues`
    // says that the text goes on with a paragraph begun before it.
    //
    // Two things differ from what Pango makes of the settings: beside an indent beyond half the
    // width some letters fit into every line, and no line is broken inside a cluster.
    KeptLines(PangoLayout* settings, bool continues);
    KeptLines() = default;

    // 0 when memory ran out.
    int Count() const { return m_nCount; }

    // Hands out the line table, null without lines: offsets in bytes of the text, heights in whole
    // pixels.
    OwnedArray<QVLayoutLineInfo> TakeTable() { return std::move(m_pTable); }

    // Draws the lines from `first` up to `end`, which is left out, the first one's top left corner
    // at pixel (x, y) of the image.
    void Draw(int first, int end, const QV_IMAGE& image, int x, int y) const;

private:
    struct Line {
        PangoLayoutLine* line; // of a piece
        int x;                 // of its left end, in Pango units
    };

    bool Keep(int separator);
    bool KeepPiece(PangoLayout* piece, int offset);

    OwnedArray<GObjectPtr<PangoLayout>> m_pPieces; // never changed: Pango would drop their lines
    int m_nPieces = 0;
    OwnedArray<Line> m_pLines;
    OwnedArray<QVLayoutLineInfo> m_pTable;
    int m_nCount = 0;
};

} // namespace QvFormat
