#include "IBookInfoEntity.h"

namespace QvFormat {

IBookInfoEntity::~IBookInfoEntity() = default;

} // namespace QvFormat
