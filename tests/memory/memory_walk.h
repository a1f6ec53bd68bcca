#pragma once

#include <functional>
#include <initializer_list>
#include <string>

#include "tests/memory/shortage.h"

/// Shared with the programs that this process starts.
[[nodiscard]] SharedShortage& sharedShortage() noexcept;

/// Whether an allocation has failed in this attempt.
[[nodiscard]] inline bool hasStruck() noexcept { return sharedShortage().shortage.hasStruck(); }

/// While one lives, memory runs out for its thread, or for all others, as the walk wants it.
class Meeting {
 public:
  Meeting() noexcept;
  ~Meeting();
  Meeting(const Meeting&) = delete;
  Meeting& operator=(const Meeting&) = delete;
};

/// Runs `call` while memory runs out.
template <typename Call>
auto meet(const Call& call) {
  const Meeting now;
  return call();
}

/// Meets one shortage and tells what was wrong afterwards; empty if nothing.
using Attempt = std::function<std::string()>;

/// A phase in the life of what is tested.
struct Walk {
  const char* name;
  std::function<Attempt()> prepare;
  unsigned share = 1;      ///< tries all new chains of callers, and one in `share` of the others
  bool isFirst = false;    ///< each attempt in a process of its own, with what that makes once
  bool elsewhere = false;  ///< fails what other threads than that of the attempt ask for
};

/// The allocations of a phase fail, alone and with all behind them; of later phases only those that
/// are new. `prepare` makes the attempt in a child process, a new one after each end of the last,
/// so that this process stays as it is. Fails the test for every child that died and for what
/// attempts complain of, and prints the counts.
void walkMemory(std::initializer_list<Walk> walks);
