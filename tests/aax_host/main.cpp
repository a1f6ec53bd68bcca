#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "tests/aax_host/checks.h"
#include "tests/aax_host/hosted_instance.h"
#include "tests/support/test_directory.h"

namespace {

constexpr int kFailed = 1;
constexpr int kWrongArguments = 2;

struct Arguments {
  std::string library;
  int rounds = 20;
};

std::optional<int> countIn(const std::string& text) {
  int count = 0;
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, count);
  if (error != std::errc() || rest != end || count < 0) return std::nullopt;
  return count;
}

std::optional<Arguments> parse(const std::vector<std::string>& words) {
  Arguments arguments;
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (words[i] == "--rounds" && i + 1 < words.size()) {
      const auto rounds = countIn(words[++i]);
      if (!rounds) return std::nullopt;
      arguments.rounds = *rounds;
    } else if (words[i].empty() || words[i].starts_with('-') || !arguments.library.empty()) {
      return std::nullopt;
    } else {
      arguments.library = words[i];
    }
  }
  if (arguments.library.empty()) return std::nullopt;
  // A bare name would be looked for where the system keeps its libraries.
  if (arguments.library.find('/') == std::string::npos) arguments.library.insert(0, "./");
  return arguments;
}

/// Bytes that cannot be shown as dots.
std::string shown(std::string text) {
  const auto isHidden = [](unsigned char byte) { return std::isprint(byte) == 0; };
  std::ranges::replace_if(text, isHidden, '.');
  return text;
}

void printParameters(const RecordedEffect& effect) {
  const HostedInstance instance(effect, 2);
  const AAX_IEffectParameters& parameters = *instance.parameters;
  std::int32_t count = 0;
  parameters.GetNumberOfParameters(&count);
  std::cout << count << " parameters: identifier, name, steps, default, its text\n";
  for (std::int32_t i = 0; i < count; ++i) {
    const std::string id = instance.id(i);
    HostString name;
    HostString text;
    std::int32_t steps = 0;
    double standard = 0.0;
    parameters.GetParameterName(id.c_str(), &name);
    parameters.GetParameterNumberOfSteps(id.c_str(), &steps);
    parameters.GetParameterDefaultNormalizedValue(id.c_str(), &standard);
    parameters.GetParameterStringFromValue(id.c_str(), standard, &text);
    std::cout << i << '\t' << shown(id) << '\t' << name.text << '\t' << steps << '\t' << standard
              << '\t' << text.text << '\n';
  }
}

/// Counts checks and prints how each came out.
class Tally {
 public:
  template <typename Run>
  void run(const std::string& name, const Run& check) {
    Faults faults;
    try {
      check(faults);
    } catch (const std::exception& fault) {
      faults.sentences.push_back(fault.what());
    }
    ++checks;
    if (faults.sentences.empty()) {
      std::cout << "ok " << name << std::endl;
      return;
    }
    ++failed;
    constexpr std::size_t kMostShown = 5;
    const std::size_t shown = std::min(faults.sentences.size(), kMostShown);
    std::cout << "FAILED " << name << ": ";
    for (std::size_t i = 0; i < shown; ++i) std::cout << (i > 0 ? "; " : "") << faults.sentences[i];
    if (shown < faults.sentences.size()) {
      std::cout << "; and " << faults.sentences.size() - shown << " more";
    }
    std::cout << std::endl;
  }

  int finish() const {
    std::cout << checks << " checks, " << failed << " failed" << std::endl;
    return failed == 0 ? 0 : kFailed;
  }

 private:
  int checks = 0;
  int failed = 0;
};

void checkLoaded(const std::string& path, Tally& tally) {
  HostUnknown host;
  const AaxLibrary library(path);
  library.startup(host.unknown());
  const RecordedCollection& collection = describePlugin(library, host);
  const RecordedEffect& effect = *collection.effects.front();
  std::cout << collection.text();
  printParameters(effect);
  const Bench bench{library, host, collection, effect};
  for (const auto checks :
       {descriptionChecks(), parameterChecks(), renderChecks(), stateChecks()}) {
    for (const Check& check : checks) {
      tally.run(check.name, [&](Faults& faults) { check.run(bench, faults); });
    }
  }
  library.shutdown(host.unknown());
}

/// The library in a folder of its own, where it finds no factory content: what is checked does not
/// depend on what lies beside it.
std::string ownCopy(const std::string& library, const TestDirectory& home) {
  namespace fs = std::filesystem;
  const std::string copy = home.path(fs::path(library).filename().string());
  std::error_code error;
  fs::copy_file(library, copy, error);
  if (error) throw std::runtime_error(library + ": cannot be read: " + error.message());
  return copy;
}

}  // namespace

int main(int argc, char** argv) {
  const std::optional<Arguments> arguments = parse({argv + 1, argv + argc});
  if (!arguments) {
    std::cerr << "aax-host-check: usage: aax-host-check LIBRARY [--rounds N]\n";
    return kWrongArguments;
  }
  try {
    // Settings of its own: those of the user are neither met nor changed.
    const TestDirectory home;
    setenv("XDG_CONFIG_HOME", home.path("config").c_str(), 1);
    setenv("XDG_DATA_HOME", home.path("data").c_str(), 1);
    setenv("XDG_DATA_DIRS", home.path("none").c_str(), 1);
    storeSettings();
    const std::string library = ownCopy(arguments->library, home);
    Tally tally;
    checkLoaded(library, tally);
    tally.run("lifetime.rounds",
              [&](Faults& faults) { checkRounds(library, arguments->rounds, faults); });
    return tally.finish();
  } catch (const std::exception& fault) {
    std::cerr << "aax-host-check: " << fault.what() << '\n';
    return kFailed;
  }
}
