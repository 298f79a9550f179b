#pragma once

#include <stdexcept>
#include <string>

namespace umdhost {

// Why something that was asked for cannot be done, in words for the person who asked:
// "SUBJECT: reason". The subject is the file that the reason is about.
class Failure : public std::runtime_error {
public:
    Failure(const std::string& subject, const std::string& reason)
        : std::runtime_error(subject + ": " + reason) {}
};

// "No such file or directory" and the like, for a value of errno.
std::string SystemReason(int error);

} // namespace umdhost
