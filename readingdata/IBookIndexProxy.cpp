#include "IBookIndexProxy.h"

namespace QvFormat {

IBookIndexProxy::~IBookIndexProxy() = default;

} // namespace QvFormat
