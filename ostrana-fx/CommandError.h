#pragma once

#include <stdexcept>
#include <string>

namespace ostrana::fx {

// Process exit statuses of ostrana-fx.
enum class ExitStatus : int { Success = 0, Failure = 1, Usage = 2 };

// An error that ends a command: a one-line message saying what went wrong and where, and
// the exit status it ends the program with (a usage error or a failure while running).
class CommandError : public std::runtime_error {
  public:
    CommandError(ExitStatus status, const std::string& message)
        : std::runtime_error(message), status_(status) {}

    static CommandError usage(const std::string& message) {
        return CommandError(ExitStatus::Usage, message);
    }
    static CommandError failure(const std::string& message) {
        return CommandError(ExitStatus::Failure, message);
    }

    ExitStatus status() const { return status_; }

  private:
    ExitStatus status_;
};

}  // namespace ostrana::fx
