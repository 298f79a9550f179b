#include "layout/GObjectPtr.h"

#include <glib-object.h>

namespace QvFormat {

void GObjectReleaser::operator()(void* object) const {
    g_object_unref(object);
}

} // namespace QvFormat
