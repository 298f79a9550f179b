#include "ITextCustomizer.h"

namespace QvFormat {

ITextCustomizer::~ITextCustomizer() = default;

} // namespace QvFormat
