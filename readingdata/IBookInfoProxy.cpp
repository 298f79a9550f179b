#include "IBookInfoProxy.h"

namespace QvFormat {

IBookInfoProxy::~IBookInfoProxy() = default;

} // namespace QvFormat
