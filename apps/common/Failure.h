#pragma once

#include <stdexcept>
#include <string>
#include <system_error>

namespace umdhost {

// Why something that was asked for cannot be done, in words for the person who asked:
// "SUBJECT: reason". The subject is the file that the reason is about.
class Failure : public std::runtime_error {
public:
    Failure(const std::string& subject, const std::string& reason)
        : std::runtime_error(subject + ": " + reason) {}
};

// "No such file or directory" and the like, for a value of errno.
inline std::string SystemReason(int error) {
    return std::generic_category().message(error);
}

} // namespace umdhost
