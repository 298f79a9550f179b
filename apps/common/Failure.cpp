#include "common/Failure.h"

#include <system_error>

namespace umdhost {

std::string SystemReason(int error) {
    return std::generic_category().message(error);
}

} // namespace umdhost
