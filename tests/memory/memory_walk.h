#pragma once

#include <functional>
#include <string>

/// One way in which memory runs out: allocation number `first` of the calling thread, or of all
/// others, but of a host's own, fails alone or with all behind it.
struct Shortage {
  int first;
  bool lasts;
  bool elsewhere = false;
  mutable bool struck = false;  ///< whether `under` has met it

  /// Runs `call` under it.
  template <typename Call>
  auto under(const Call& call) const {
    const Scope scope(*this);
    return call();
  }

 private:
  class Scope {
   public:
    explicit Scope(const Shortage& shortage) noexcept;
    ~Scope();
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;

   private:
    const Shortage& shortage;
  };
};

/// Meets one shortage and tells what was wrong afterwards; empty if nothing.
using Attempt = std::function<std::string(const Shortage&)>;

struct WalkOptions {
  int step = 1;         ///< of those that fail alone, every so many
  int lastingStep = 1;  ///< of those that fail with all behind them
  bool elsewhere = false;
};

/// Walks a phase: its allocations fail, alone and with all behind them, until an attempt meets none
/// any more. `prepare` makes the attempt in a child process, a new one after each end of the last,
/// so that this process stays as it is. Fails the test for every child that died and for what
/// attempts complain of, and prints the counts.
void walkMemory(const std::string& phase, const std::function<Attempt()>& prepare,
                const WalkOptions& options = {});
