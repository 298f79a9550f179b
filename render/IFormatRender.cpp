#include "IFormatRender.h"

namespace QvFormat {

IFormatRender::~IFormatRender() = default;

} // namespace QvFormat
