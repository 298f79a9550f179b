#pragma once

#include <stdexcept>
#include <string>

namespace umdview {

// Why a command stops: main prints "umdview: SUBJECT: reason" and exits with status 1. The subject
// is the file that the reason is about.
class Failure : public std::runtime_error {
public:
    Failure(const std::string& subject, const std::string& reason)
        : std::runtime_error(subject + ": " + reason) {}
};

// "No such file or directory" and the like, for a value of errno.
std::string SystemReason(int error);

// Prints "umdview: SUBJECT: reason" on standard error.
void Report(const std::string& subject, const std::string& reason);

} // namespace umdview
