#include "bench/BarePango.h"

#include <ft2build.h>
#include FT_BITMAP_H

namespace bench {

BarePango::BarePango()
    : m_pFontMap(pango_ft2_font_map_new(), g_object_unref), m_pContext(nullptr, g_object_unref),
      m_pLayout(nullptr, g_object_unref) {
    pango_ft2_font_map_set_resolution(PANGO_FT2_FONT_MAP(m_pFontMap.get()), 72, 72);
    m_pContext.reset(pango_font_map_create_context(m_pFontMap.get()));
    m_pLayout.reset(pango_layout_new(m_pContext.get()));
    PangoFontDescription* font = pango_font_description_from_string("fzlth 18");
    pango_layout_set_font_description(m_pLayout.get(), font);
    pango_font_description_free(font);
    pango_layout_set_width(m_pLayout.get(), kWidth * PANGO_SCALE);
    pango_layout_set_wrap(m_pLayout.get(), PANGO_WRAP_WORD_CHAR);
    pango_layout_set_indent(m_pLayout.get(), 36 * PANGO_SCALE);
}

std::string BarePango::LayOut(const std::string& text) {
    pango_layout_set_text(m_pLayout.get(), text.data(), static_cast<int>(text.size()));
    int height = 0;
    int end = 0;
    for (GSList* item = pango_layout_get_lines_readonly(m_pLayout.get()); item; item = item->next) {
        auto* line = static_cast<PangoLayoutLine*>(item->data);
        PangoRectangle logical;
        pango_layout_line_get_extents(line, nullptr, &logical);
        height += PANGO_PIXELS_CEIL(logical.height);
        if (height <= kHeight)
            end = line->start_index + line->length;
    }
    return text.substr(0, static_cast<std::size_t>(end));
}

void BarePango::Draw(const std::string& text, Image& image) {
    pango_layout_set_text(m_pLayout.get(), text.data(), static_cast<int>(text.size()));
    FT_Bitmap bitmap = {};
    bitmap.rows = kHeight;
    bitmap.width = kWidth;
    bitmap.pitch = kWidth;
    bitmap.buffer = image.data();
    bitmap.num_grays = 256;
    bitmap.pixel_mode = FT_PIXEL_MODE_GRAY;
    pango_ft2_render_layout(&bitmap, m_pLayout.get(), 0, 0);
}

} // namespace bench
