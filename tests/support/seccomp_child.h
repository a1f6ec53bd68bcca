#pragma once

#include <functional>
#include <string>

/// How a child process ended that was allowed no system call but to exit.
struct SeccompEnd {
  static constexpr const char* kClean = "ran to its end";
  static constexpr const char* kCrashed = "was ended by a signal";  ///< also after a minute
  /// Built with a sanitizer, or the kernel refuses to seal a process: skip the test.
  static constexpr const char* kUnavailable = "could not be sealed";

  [[nodiscard]] bool clean() const { return words == kClean; }
  [[nodiscard]] bool unavailable() const { return words == kUnavailable; }
  [[nodiscard]] const std::string& text() const noexcept { return words; }

  std::string words = kUnavailable;  ///< or "made system call ", and its number on this machine
};

/// Forks a child that runs `prepare`, gives up all system calls and runs `process`, where the first
/// wait for a lock, growth of the heap or file call ends it. Nothing the child does is seen by the
/// caller but its end. Neither function may throw; call it with no other thread running.
[[nodiscard]] SeccompEnd runUnderSeccomp(const std::function<void()>& prepare,
                                         const std::function<void()>& process);
