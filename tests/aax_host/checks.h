#pragma once

#include <span>
#include <sstream>
#include <string>
#include <vector>

#include "tests/aax_host/aax_library.h"
#include "tests/aax_host/described_plugin.h"

/// What a check found wrong, a sentence each; empty when all is well.
class Faults {
 public:
  void expect(bool good, const std::string& fault) {
    if (!good) sentences.push_back(fault);
  }
  template <typename Actual, typename Expected>
  void equal(const Actual& actual, const Expected& expected, const std::string& what) {
    std::ostringstream sentence;
    sentence << what << " is " << actual << " instead of " << expected;
    expect(actual == expected, sentence.str());
  }
  std::vector<std::string> sentences;
};

/// A loaded and described plug-in.
struct Bench {
  const AaxLibrary& library;
  HostUnknown& host;
  const RecordedCollection& collection;
  const RecordedEffect& effect;
};

struct Check {
  const char* name;
  void (*run)(const Bench& bench, Faults& faults);
};

[[nodiscard]] std::span<const Check> descriptionChecks();
[[nodiscard]] std::span<const Check> parameterChecks();
[[nodiscard]] std::span<const Check> renderChecks();
[[nodiscard]] std::span<const Check> stateChecks();

/// Loads, uses and unloads the library `rounds` times; nothing else may hold it.
void checkRounds(const std::string& path, int rounds, Faults& faults);

/// Registers with `host` and lets go of the definition again; throws std::runtime_error with the
/// reason when that gives no effect.
const RecordedCollection& describePlugin(const AaxLibrary& library, HostUnknown& host);

/// The MIDI controller that `storeSettings` gives to `kIpTrim`, in the settings that the plug-in
/// reads when it is loaded.
inline constexpr unsigned char kMappedController = 20;
void storeSettings();
