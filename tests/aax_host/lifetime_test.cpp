#include <malloc.h>

#include <fstream>

#include "tests/aax_host/loaded_plugin.h"
#include "tests/aax_host/reference.h"

namespace {

/// Resident memory of this process, kB, without what the heap holds back.
long residentKilobytes() {
  malloc_trim(0);
  std::ifstream status("/proc/self/status");
  long kilobytes = 0;
  for (std::string word; status >> word && word != "VmRSS:";) {
  }
  status >> kilobytes;
  return kilobytes;
}

/// One life of the library: an instance that renders, then nothing left.
void liveOnce() {
  HostUnknown host;
  {
    const Session session(host);
    HostedInstance instance(session.effect(), 2);
    static_cast<void>(instance.render(noise(2, 2048)));
    EXPECT_FALSE(instance.chunk(AAX_TypeID("CvnP")).data.empty());
    instance.close();
    EXPECT_EQ(instance.host.referenceCount(), 0U);
    for (const auto& [id, count] : instance.host.registrations) EXPECT_EQ(count, 0) << id;
  }
  EXPECT_EQ(dlopen(libraryPath.c_str(), RTLD_NOW | RTLD_NOLOAD), nullptr) << "it stays loaded";
  EXPECT_EQ(host.referenceCount(), 0U);
  EXPECT_EQ(host.collections.front()->referenceCount(), 0U);
}

TEST(Lifetime, RoundsLeaveNothing) {
  // Until what the C library keeps has grown to its size.
  for (int round = 0; round < 10; ++round) liveOnce();
  [[maybe_unused]] const long before = residentKilobytes();
  for (int round = 0; round < 20 && !HasFailure(); ++round) liveOnce();
#ifndef __SANITIZE_ADDRESS__  // which keeps back what is freed
  EXPECT_GT(before, 0);
  EXPECT_LT(residentKilobytes() - before, 1024);
#endif
}

}  // namespace
