#include "IBookTagProxy.h"

namespace QvFormat {

IBookTagProxy::~IBookTagProxy() = default;

} // namespace QvFormat
