#include "IQVSequentialStream.h"

namespace QvFormat {

// Out of line, so that the virtual table has one home.
IQVSequentialStream::~IQVSequentialStream() = default;

} // namespace QvFormat
