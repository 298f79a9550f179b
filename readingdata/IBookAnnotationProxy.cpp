#include "IBookAnnotationProxy.h"

namespace QvFormat {

IBookAnnotationProxy::~IBookAnnotationProxy() = default;

} // namespace QvFormat
