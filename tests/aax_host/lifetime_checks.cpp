#include <fstream>

#include "core/parameter_ids.h"
#include "state/machine.h"
#include "tests/aax_host/checks.h"
#include "tests/aax_host/hosted_instance.h"
#include "tests/aax_host/reference.h"

namespace {

// The address sanitizer keeps notes of each library it has seen, and finds leaks by itself.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool kMemoryTells = false;
#else
constexpr bool kMemoryTells = true;
#endif

/// Resident memory of this process, kB.
long residentKilobytes() {
  std::ifstream status("/proc/self/status");
  long kilobytes = 0;
  for (std::string word; status >> word && word != "VmRSS:";) {
  }
  status >> kilobytes;
  return kilobytes;
}

/// One life of the library: an instance that renders, then nothing left.
void liveOnce(const std::string& path, Faults& faults) {
  HostUnknown host;
  {
    const AaxLibrary library(path);
    faults.equal(library.startup(host.unknown()), ACF_OK, "the result of starting");
    const RecordedCollection& collection = describePlugin(library, host);
    {
      HostedInstance instance(*collection.effects.front(), 2);
      static_cast<void>(instance.render(noise(2, 2048)));
      faults.expect(!instance.chunk(AAX_TypeID("CvnP")).data.empty(), "no state");
    }
    faults.equal(library.shutdown(host.unknown()), ACF_OK, "the result of shutting down");
    faults.equal(library.canUnloadNow(host.unknown()), ACF_OK, "in the end, unloading");
  }
  faults.expect(!AaxLibrary::isLoaded(path), "the library stays when it is unloaded");
  faults.equal(host.referenceCount(), 0U, "the reference count of the host");
  faults.equal(host.collections.front()->referenceCount(), 0U, "that of the collection");
}

}  // namespace

void storeSettings() { getMidiMap().learn(kIpTrim, kMappedController); }

void checkRounds(const std::string& path, int rounds, Faults& faults) {
  constexpr int kFirst = 10;  // until what the C library keeps has grown to its size
  constexpr long kMostGrown = 4096;
  for (int round = 0; round < kFirst; ++round) liveOnce(path, faults);
  const long before = residentKilobytes();
  for (int round = 0; round < rounds && faults.sentences.empty(); ++round) liveOnce(path, faults);
  const long grown = residentKilobytes() - before;
  faults.expect(
      !kMemoryTells || (before > 0 && grown < kMostGrown),
      "memory grows by " + std::to_string(grown) + " kB in " + std::to_string(rounds) + " rounds");
}
