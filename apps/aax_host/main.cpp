// Loads an AAX plug-in as a host does and prints how it describes itself.

#include <exception>
#include <iostream>

#include "apps/aax_host/aax_session.h"
#include "apps/aax_host/hosted_instance.h"

namespace {

enum ExitStatus : int { kDone = 0, kFailed = 1, kWrongArguments = 2 };

void print(const std::string& path) {
  const AaxSession session(path);
  std::cout << session.collection().text();
  for (const int channels : {1, 2}) {
    const HostedInstance instance(session.effect(), channels);
    std::int32_t parameters = 0;
    instance.parameters->GetNumberOfParameters(&parameters);
    std::cout << "instance of " << channels << ": " << parameters << " parameters, latency "
              << instance.host.latency() << '\n';
  }
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
