#include "layout/LayoutRegistry.h"

#include <glib.h>

#include "layout/CPangoLayout.h"

namespace QvFormat {

namespace {

// Two threads may each make layouts of their own.
G_LOCK_DEFINE_STATIC(layouts);
GHashTable* layouts = nullptr; // a set of ITextLayout*, kept until the process ends

} // namespace

void RegisterLayout(CPangoLayout* layout) {
    G_LOCK(layouts);
    if (!layouts)
        layouts = g_hash_table_new(nullptr, nullptr);
    g_hash_table_add(layouts, static_cast<ITextLayout*>(layout));
    G_UNLOCK(layouts);
}

void UnregisterLayout(CPangoLayout* layout) {
    G_LOCK(layouts);
    g_hash_table_remove(layouts, static_cast<ITextLayout*>(layout));
    G_UNLOCK(layouts);
}

CPangoLayout* FindPangoLayout(ITextLayout* layout) {
    G_LOCK(layouts);
    const bool known = layouts && g_hash_table_contains(layouts, layout);
    G_UNLOCK(layouts);
    return known ? static_cast<CPangoLayout*>(layout) : nullptr;
}

} // namespace QvFormat
