#include "ITextLayout.h"

namespace QvFormat {

ITextLayout::~ITextLayout() = default;

} // namespace QvFormat
