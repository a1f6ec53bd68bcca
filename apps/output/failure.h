#pragma once

#include <stdexcept>
#include <string>

/// A failure of the work: `what()` names the file and the reason in one line.
class Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
  Failure(const std::string& file, const std::string& reason)
      : std::runtime_error(file + ": " + reason) {}
};

/// Runs `work`; adds `consequence` to the message of a `Failure`.
template <typename Work>
auto orElse(const char* consequence, const Work& work) {
  try {
    return work();
  } catch (const Failure& failure) {
    throw Failure(std::string(failure.what()) + "; " + consequence);
  }
}

/// Wrong arguments, whatever the files contain.
class WrongArguments : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The exit statuses of the program.
enum ExitStatus : int { kDone = 0, kFailed = 1, kWrongArguments = 2 };
