#include "layout/KeptLines.h"

#include <algorithm>
#include <climits>
#include <new>

#include <pango/pangoft2.h>

#include "layout/PangoLineInfo.h"
#include "layout/Paragraphs.h"
#include "layout/ReadableLayout.h"

namespace QvFormat {

namespace {

const char kLineSeparator[] = "\u2028";
const int kLineSeparatorBytes = sizeof(kLineSeparator) - 1;

struct IterReleaser {
    void operator()(PangoLayoutIter* iter) const { pango_layout_iter_free(iter); }
};

// Far enough for any image, and small enough to add to.
int Clamped(long long units) {
    return static_cast<int>(std::clamp<long long>(units, INT_MIN / 2, INT_MAX / 2));
}

// Whether a line separator before the text makes a line of its own. None is needed where the text
// begins with the end of its paragraph.
bool CanSeparate(PangoLayout* settings, const char* text) {
    return *text && !IsParagraphSeparator(g_utf8_get_char(text)) &&
           !pango_layout_get_single_paragraph_mode(settings) &&
           pango_layout_get_ellipsize(settings) == PANGO_ELLIPSIZE_NONE;
}

} // namespace

// Put before a text that goes on with a paragraph, a line separator takes the place of the
// paragraph's first line, so that Pango gives the lines after it no first-line indent.
KeptLines::KeptLines(PangoLayout* settings, bool continues) {
    const char* text = pango_layout_get_text(settings);
    const bool separated = continues && CanSeparate(settings, text);
    const std::unique_ptr<char, decltype(&g_free)> whole(
        g_strconcat(separated ? kLineSeparator : "", text, nullptr), g_free);
    m_pLayout = NewReadableLayout(settings, whole.get());
    if (continues && pango_layout_get_single_paragraph_mode(settings))
        pango_layout_set_indent(m_pLayout.get(), 0);
    Keep(separated);
}

void KeptLines::Keep(bool separated) {
    const int count = pango_layout_get_line_count(m_pLayout.get()) - separated;
    const LineInfoList infos(pango_layout_get_line_info_list(m_pLayout.get()));
    m_pLines.reset(new (std::nothrow) Line[static_cast<std::size_t>(count)]);
    if (!infos || !m_pLines)
        return;
    const PangoLineInfoNode* info = infos.get();
    const std::unique_ptr<PangoLayoutIter, IterReleaser> iter(
        pango_layout_get_iter(m_pLayout.get()));
    if (separated) {
        info = info->next;
        pango_layout_iter_next_line(iter.get());
    }
    for (; info; info = info->next) {
        PangoRectangle logical;
        pango_layout_iter_get_line_extents(iter.get(), nullptr, &logical);
        Line& line = m_pLines[m_nCount++];
        line.line.reset(pango_layout_line_ref(pango_layout_iter_get_line_readonly(iter.get())));
        line.info = {info->start_index - (separated ? kLineSeparatorBytes : 0), info->height};
        line.x = logical.x;
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
        top += 0LL + logical.height + pango_layout_get_spacing(m_pLayout.get());
    }
}

} // namespace QvFormat
