#pragma once

#include <dlfcn.h>
#include <execinfo.h>
#include <semaphore.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "apps/aax_host/host_memory.h"

/// Which allocation fails, alone or with all behind it.
struct Shortfall {
  int number;
  bool lasts;
};

/// Memory that runs out. A test shares it with its child processes and with programs.
class Shortage {
 public:
  /// Nothing fails; who asks for memory is noted.
  static constexpr Shortfall kRehearsal = {-1, false};

  void begin(Shortfall shortfall) noexcept {
    failing = shortfall;
    met = 0;
  }
  /// Counts an allocation; whether it fails.
  [[nodiscard]] bool strikes() noexcept {
    const int number = met++;
    const auto place = static_cast<std::size_t>(number);
    if (failing.number < 0 && place < askers.size()) askers[place] = chainOfCallers();
    return number == failing.number || (failing.lasts && number > failing.number);
  }
  [[nodiscard]] bool hasStruck() const noexcept {
    return failing.number >= 0 && met > failing.number;
  }
  /// Of those of a rehearsal the first of each chain of callers that is not `known` yet, and one in
  /// `share` of the others: each alone, and every third with all behind it.
  [[nodiscard]] std::vector<Shortfall> choose(unsigned share,
                                              std::set<std::uint64_t>& known) const {
    std::vector<Shortfall> chosen;
    std::mt19937 random(1);
    for (int n = 0; n < std::min(met.load(), static_cast<int>(askers.size())); ++n) {
      const bool isNew = known.insert(askers[static_cast<std::size_t>(n)]).second;
      if (!isNew && random() % share != 0) continue;
      chosen.push_back({n, false});
      if (random() % 3 == 0) chosen.push_back({n, true});
    }
    return chosen;
  }

  sem_t hasRun;    ///< posted for each run of a program
  int status = 0;  ///< of the last one

  // What a child tells, also when it dies.
  std::size_t tried = 0;  // of the plan
  int wrong = 0;
  std::array<char, 400> firstWrong{};

 private:
  /// A number for the nearest callers, the same in all processes of one build.
  static std::uint64_t chainOfCallers() noexcept {
    const HostMemory own;
    std::array<void*, 8> callers{};
    std::uint64_t chain = 0;
    for (int i = backtrace(callers.data(), int{callers.size()}) - 1; i > 0; --i) {
      void* const caller = callers[static_cast<std::size_t>(i)];
      dl_find_object module{};
      _dl_find_object(caller, &module);
      chain += static_cast<std::uint64_t>(static_cast<char*>(caller) -
                                          static_cast<char*>(module.dlfo_map_start));
      chain *= 0x9e3779b97f4a7c15;
    }
    return chain;
  }

  Shortfall failing = kRehearsal;
  std::atomic<int> met{0};
  std::array<std::uint64_t, 1 << 13> askers{};
};

/// Where a program under test finds it when it is loaded.
constexpr int kShortageDescriptor = 100;

/// That of the attempt, shared with the programs that this process starts.
[[nodiscard]] Shortage& shortage() noexcept;

/// From now on memory runs out for this thread, or for all others, as the walk wants it; or never.
void runOut(bool isOut) noexcept;

/// Runs `call` while memory runs out.
template <typename Call>
auto meet(const Call& call) {
  const struct Meeting {
    Meeting() noexcept { runOut(true); }
    ~Meeting() { runOut(false); }
  } now;
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
