#pragma once

#include <dlfcn.h>
#include <semaphore.h>
#include <unwind.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <random>
#include <set>
#include <vector>

#include "tests/support/host_memory.h"

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

 private:
  /// A number for the nearest callers, the same in all processes of one build.
  static std::uint64_t chainOfCallers() noexcept {
    struct Chain {
      std::uint64_t number = 0;
      int length = 0;
    } chain;
    const HostMemory own;
    const auto add = [](_Unwind_Context* frame, void* data) {
      constexpr int kLongest = 7;
      auto& [number, length] = *static_cast<Chain*>(data);
      const auto address = _Unwind_GetIP(frame);
      dl_find_object module{};
      _dl_find_object(reinterpret_cast<void*>(address), &module);
      number += address - reinterpret_cast<std::uintptr_t>(module.dlfo_map_start);
      number *= 0x9e3779b97f4a7c15;
      return ++length < kLongest ? _URC_NO_REASON : _URC_END_OF_STACK;
    };
    _Unwind_Backtrace(add, &chain);
    return chain.number;
  }

  Shortfall failing = kRehearsal;
  std::atomic<int> met{0};
  std::array<std::uint64_t, 1 << 13> askers{};
};

/// What a program under test finds when it is loaded.
struct SharedShortage {
  SharedShortage() { sem_init(&hasRun, 1, 0); }
  static constexpr int kDescriptor = 100;

  Shortage shortage;
  sem_t hasRun;    ///< posted for each run of the program
  int status = 0;  ///< of the last one
};
