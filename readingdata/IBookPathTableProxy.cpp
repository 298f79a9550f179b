#include "IBookPathTableProxy.h"

namespace QvFormat {

IBookPathTableProxy::~IBookPathTableProxy() = default;

} // namespace QvFormat
