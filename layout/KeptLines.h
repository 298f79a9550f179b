#pragma once

#include <memory>

#include <pango/pango.h>

#include "QvRecords.h"
#include "layout/GObjectPtr.h"
#include "layout/GreyImage.h"

namespace QvFormat {

// The lines of a text as Pango laid them out, kept to be drawn page by page. A page drawn from them
// looks as it does when the whole text is drawn at once.
class KeptLines {
public:
    // Lays out the text that `settings` holds, under its settings; it stays as it is. `continues`
    // says that the text goes on with a paragraph begun before it.
    KeptLines(PangoLayout* settings, bool continues);

    // 0 when memory ran out.
    int Count() const { return m_nCount; }
    // Offset in bytes of the text, height in whole pixels.
    const QVLayoutLineInfo& Info(int line) const { return m_pLines[line].info; }

    // Draws the lines from `first` up to `end`, which is left out, at the top of the image's page.
    void Draw(int first, int end, const GreyImage& image) const;

private:
    struct LineReleaser {
        void operator()(PangoLayoutLine* line) const { pango_layout_line_unref(line); }
    };
    struct Line {
        std::unique_ptr<PangoLayoutLine, LineReleaser> line;
        QVLayoutLineInfo info;
        int x; // of its left end, in Pango units
    };

    void Keep(bool separated);

    GObjectPtr<PangoLayout> m_pLayout; // never changed: Pango would drop its lines
    std::unique_ptr<Line[]> m_pLines;
    int m_nCount = 0;
};

} // namespace QvFormat
