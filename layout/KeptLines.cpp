#include "layout/KeptLines.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <new>

#include <pango/pangoft2.h>

#include "layout/PangoLineInfo.h"
#include "layout/Paragraphs.h"
#include "layout/ReadableLayout.h"

namespace QvFormat {

namespace {

struct IterReleaser {
    void operator()(PangoLayoutIter* iter) const { pango_layout_iter_free(iter); }
};

// Far enough for any image, and small enough to add to.
int Clamped(long long units) {
    return static_cast<int>(std::clamp<long long>(units, INT_MIN / 2, INT_MAX / 2));
}

// Right-to-left lines stand at the other side than the layout's alignment says.
bool StandsLeft(const PangoLayoutLine* line) {
    const PangoAlignment alignment = pango_layout_get_alignment(line->layout);
    return alignment != PANGO_ALIGN_CENTER &&
           (alignment == PANGO_ALIGN_LEFT) == (line->resolved_dir == PANGO_DIRECTION_LTR);
}

int RestOfParagraph(PangoLayout* settings, const char* text, int length) {
    return pango_layout_get_single_paragraph_mode(settings) ? length
                                                            : FirstParagraphLength(text, length);
}

int LineCount(const GObjectPtr<PangoLayout>& layout) {
    return layout ? pango_layout_get_line_count(layout.get()) : 0;
}

} // namespace

// The rest of a paragraph is laid out with its separator, without which Pango may break its last
// line elsewhere. The empty line that Pango adds after a separator is left out: the others follow.
KeptLines::KeptLines(PangoLayout* settings, bool continues) {
    const char* text = pango_layout_get_text(settings);
    const int length = static_cast<int>(std::strlen(text));
    const int rest = continues ? RestOfParagraph(settings, text, length) : 0;
    if (rest > 0)
        m_pRest = NewReadableLayout(settings, text, rest, true);
    if (rest == 0 || rest < length)
        m_pOthers = NewReadableLayout(settings, text + rest, length - rest, false);
    const int restLines = LineCount(m_pRest) - (m_pRest && m_pOthers ? 1 : 0);
    const int allLines = restLines + LineCount(m_pOthers);
    m_pLines.reset(new (std::nothrow) Line[static_cast<std::size_t>(allLines)]);
    if (!m_pLines)
        return;
    if (m_pRest)
        Append(m_pRest.get(), restLines, 0,
               pango_layout_get_width(settings) - pango_layout_get_width(m_pRest.get()));
    if (m_pOthers)
        Append(m_pOthers.get(), allLines, rest, 0);
    if (m_nCount < allLines)
        m_nCount = 0;
}

// Appends lines of a layout whose text begins at byte `offset`, until there are `end` lines.
// `missingWidth` is what a negative indent took from its width.
void KeptLines::Append(PangoLayout* layout, int end, int offset, int missingWidth) {
    const LineInfoList infos(pango_layout_get_line_info_list(layout));
    const std::unique_ptr<PangoLayoutIter, IterReleaser> iter(pango_layout_get_iter(layout));
    const PangoLineInfoNode* info = infos.get();
    for (; info && m_nCount < end; info = info->next, ++m_nCount) {
        Line& kept = m_pLines[m_nCount];
        PangoRectangle logical;
        pango_layout_iter_get_line_extents(iter.get(), nullptr, &logical);
        kept.line.reset(pango_layout_line_ref(pango_layout_iter_get_line_readonly(iter.get())));
        kept.info = {offset + info->start_index, info->height};
        kept.x = logical.x + (StandsLeft(kept.line.get()) ? missingWidth : 0);
        pango_layout_iter_next_line(iter.get());
    }
}

// As Pango places the lines of a layout: each at the exact end of the one before and the spacing.
void KeptLines::Draw(int first, int end, const GreyImage& image) const {
    FT_Bitmap bitmap = image.Bitmap();
    const long long left = -1LL * PANGO_SCALE * image.Origin().x;
    const long long bottom = 1LL * PANGO_SCALE * image.Height();
    long long top = -1LL * PANGO_SCALE * image.Origin().y;
    for (int i = first; i < end && top < bottom; ++i) {
        PangoLayoutLine* line = m_pLines[i].line.get();
        PangoRectangle logical;
        pango_layout_line_get_extents(line, nullptr, &logical);
        pango_ft2_render_layout_line_subpixel(&bitmap, line, Clamped(left + m_pLines[i].x),
                                              Clamped(top - logical.y));
        top += 0LL + logical.height + pango_layout_get_spacing(line->layout);
    }
}

} // namespace QvFormat
