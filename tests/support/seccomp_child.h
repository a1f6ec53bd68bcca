#pragma once

#include <functional>
#include <string>

/// How a child process ended that was allowed no system call but to exit.
struct SeccompEnd {
  enum class Kind {
    kClean,        ///< ran to its end
    kSystemCall,   ///< made the system call below
    kCrashed,      ///< ended by a signal, or still running after a minute
    kUnavailable,  ///< built with a sanitizer, or the kernel refuses to seal a process: skip the
                   ///< test
  };
  Kind kind = Kind::kUnavailable;
  int systemCall = -1;  ///< its number on this machine, -1 unless `kSystemCall`

  [[nodiscard]] bool clean() const noexcept { return kind == Kind::kClean; }
  [[nodiscard]] bool unavailable() const noexcept { return kind == Kind::kUnavailable; }
  /// The end in words, for a failing test.
  [[nodiscard]] std::string text() const;
};

/// Forks a child that runs `prepare`, gives up all system calls and runs `process`, where the first
/// wait for a lock, growth of the heap or file call ends it. Nothing the child does is seen by the
/// caller but its end. Neither function may throw; call it with no other thread running.
[[nodiscard]] SeccompEnd runUnderSeccomp(const std::function<void()>& prepare,
                                         const std::function<void()>& process);
