#include "IBookAnnotation.h"

namespace QvFormat {

IBookAnnotation::~IBookAnnotation() = default;

} // namespace QvFormat
