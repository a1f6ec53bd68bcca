// The built library in its bundle, as hosts load it.

#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <cstdlib>
#include <thread>

#include "platform/shared_library.h"
#include "tests/lv2_wrap/lv2_rig.h"

namespace {

struct Library {
  Library() { library.find(find, "lv2_descriptor"); }
  const SharedLibrary library{CORVANTHELIS_BUNDLE "/corvanthelis.so"};
  const LV2_Descriptor* (*find)(std::uint32_t) = nullptr;
};

/// An instance without a worker, which plays a constant.
struct Instance : Lv2Rig {
  Instance(const Library& library, std::size_t plugin)
      : Lv2Rig(lv2::kPlugins[plugin], 48000.0, kNoWorker, {}, library.find) {
    for (auto& channel : in) std::fill(channel.begin(), channel.end(), 0.25F);
  }
  /// Whether controls reach its sound, which without a worker takes its timer.
  [[nodiscard]] bool isServed() {
    parameter(kIpTrim) = 6.0F;
    for (int turn = 0; turn < 100; ++turn) {
      for (int block = 0; block < 24; ++block) run(512);
      if (std::abs(out[0][511] - 0.25F * 1.99526F) < 1e-4F) return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
  }
};

using Instances = std::vector<std::unique_ptr<Instance>>;

/// What a child of `fork()` may do with the instances that it inherits: leave them, clean them up,
/// and have one of its own beside them.
[[noreturn]] void liveAsChild(const Library& library, int turn, Instances& inherited) {
  ::alarm(20);
  int status = 0;
  if (turn == 1) inherited.clear();
  if (turn == 2) {
    inherited.pop_back();
    Instance own(library, 1);
    status = own.isServed() ? 0 : 1;
  }
#ifdef __SANITIZE_ADDRESS__  // for which what the threads of the parent held is lost memory
  ::_exit(status);
#endif
  std::exit(status);
}

TEST(Lv2Bundle, AChildProcessCleansUpPlaysOnAndEnds) {
  const Library library;
  Instances instances;
  for (const std::size_t plugin : {std::size_t{0}, std::size_t{1}}) {
    instances.push_back(std::make_unique<Instance>(library, plugin));
  }
  for (int turn = 0; turn < 3; ++turn) {
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) liveAsChild(library, turn, instances);
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0) << "turn " << turn << ", 14 if it hung";
  }
  EXPECT_TRUE(instances[0]->isServed()) << "the parent";
}

/// Factory content lies in the bundle: another bank than the first one holds other values.
TEST(Lv2Bundle, BanksHoldTheFactoryContent) {
  const Library library;
  Instance instance(library, 1);
  instance.parameter("kABBank") = 1.0F;
  for (int turn = 0; turn < 200 && instance.requests.empty(); ++turn) {
    instance.run(512);
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  EXPECT_FALSE(instance.requests.empty());
  for (const auto& [id, plain] : instance.requests) EXPECT_EQ(instance.parameter(id), plain);
}

}  // namespace
