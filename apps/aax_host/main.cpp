// Loads an AAX plug-in as a host does and prints how it describes itself and how it handles
// mistakes.

#include <exception>
#include <iomanip>
#include <iostream>
#include <sstream>

#include "apps/aax_host/aax_session.h"
#include "apps/aax_host/hosted_instance.h"
#include "apps/aax_host/mistakes.h"

namespace {

enum ExitStatus : int { kDone = 0, kFailed = 1, kWrongArguments = 2 };

/// An identifier in hexadecimal, since it may contain bytes that are no letters.
std::string shownId(const std::string& id) {
  std::ostringstream text;
  for (const char c : id) text << std::hex << std::setw(2) << std::setfill('0') << (c & 0xff);
  return text.str();
}

void printParameters(const HostedInstance& instance) {
  const AAX_IEffectParameters& parameters = *instance.parameters;
  std::int32_t count = 0;
  parameters.GetNumberOfParameters(&count);
  for (std::int32_t index = 0; index < count; ++index) {
    const std::string id = instance.id(index);
    HostString text;
    std::int32_t steps = 0;
    AAX_EParameterType type{};
    double standard = 0.0;
    parameters.GetParameterName(id.c_str(), &text);
    parameters.GetParameterNumberOfSteps(id.c_str(), &steps);
    parameters.GetParameterType(id.c_str(), &type);
    parameters.GetParameterDefaultNormalizedValue(id.c_str(), &standard);
    std::cout << std::setw(3) << index << ' ' << shownId(id) << ' ' << text.text << ": " << steps
              << (type == AAX_eParameterType_Discrete ? " steps" : " positions") << ", default "
              << standard << ", now " << instance.normalised(id) << "; texts";
    for (const double value : {0.0, 0.3, standard, 1.0}) {
      parameters.GetParameterStringFromValue(id.c_str(), value, &text);
      std::cout << ' ' << text.text << ',';
    }
    std::cout << '\n';
  }
}

void print(const std::string& path) {
  AaxSession session(path);
  std::cout << std::setprecision(8) << session.collection().text();
  for (const int channels : {1, 2}) {
    const HostedInstance instance(session.effect(), channels);
    std::cout << "instance of " << channels << ": latency " << instance.host.latency() << '\n';
    if (channels == 2) printParameters(instance);
  }
  printMistakes(session, std::cout);
  std::cout.flush();
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "aax-host: usage: aax-host LIBRARY\n";
    return kWrongArguments;
  }
  try {
    print(argv[1]);
    if (std::cout) return kDone;
    std::cerr << "aax-host: the description cannot be written\n";
  } catch (const std::exception& fault) {
    std::cerr << "aax-host: " << fault.what() << '\n';
  }
  return kFailed;
}
