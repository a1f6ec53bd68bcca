// The built library, as hosts load it.

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "tests/lv2_wrap/lv2_rig.h"

namespace {

class Library {
 public:
  Library() : handle(::dlopen(CORVANTHELIS_BUNDLE "/corvanthelis.so", RTLD_NOW | RTLD_LOCAL)) {
    if (handle == nullptr) throw std::runtime_error(::dlerror());
  }
  ~Library() { ::dlclose(handle); }
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;
  [[nodiscard]] LV2_Descriptor_Function find() const {
    return reinterpret_cast<LV2_Descriptor_Function>(::dlsym(handle, "lv2_descriptor"));
  }

 private:
  void* handle;
};

/// An instance without a worker, which plays a constant.
struct Instance : Lv2Rig {
  Instance(const Library& library, std::size_t plugin, double rate)
      : Lv2Rig(lv2::kPlugins[plugin], rate, kNoWorker, {}, library.find()) {
    for (auto* const channels : {&in, &side}) {
      for (auto& channel : *channels) std::fill(channel.begin(), channel.end(), 0.25F);
    }
  }
  /// Plays a quarter of a second; the last sample out.
  [[nodiscard]] float play(double rate) {
    for (double at = 0.0; at < rate * 0.25; at += 512) run(512);
    return out[0][511];
  }
};

/// Of this process, kilobytes.
[[maybe_unused]] long residentMemory() {
  std::ifstream status("/proc/self/status");
  for (std::string word; status >> word;) {
    long kilobytes = 0;
    if (word == "VmRSS:" && status >> kilobytes) return kilobytes;
  }
  return 0;
}

}  // namespace

TEST(Lv2Bundle, ManyInstancesAtAllRatesPlaySideBySide) {
  constexpr std::array<double, 6> kRates = {22050.0, 44100.0, 48000.0, 88200.0, 96000.0, 192000.0};
  const Library library;
  { const Instance first(library, 0, 48000.0); }
  [[maybe_unused]] const long before = residentMemory();
  std::vector<std::unique_ptr<Instance>> instances;
  for (std::size_t i = 0; i < 32; ++i) {
    instances.push_back(std::make_unique<Instance>(library, i % 3, kRates[i % kRates.size()]));
  }
  for (std::size_t i = 0; i < instances.size(); ++i) {
    EXPECT_NEAR(instances[i]->play(kRates[i % kRates.size()]), 0.25F, 1e-6F) << i;
  }
#ifndef __SANITIZE_ADDRESS__  // which keeps back what is freed
  const long all = residentMemory() - before;
  while (instances.size() > 2) instances.pop_back();
  EXPECT_LT(residentMemory() - before, all / 4) << "while two are left";
  instances.clear();
  EXPECT_LT(residentMemory() - before, 4000);
#endif
}

TEST(Lv2Bundle, RefusesWhatIsNoRate) {
  const Library library;
  const LV2_Descriptor* const descriptor = library.find()(0);
  constexpr double kInfinite = std::numeric_limits<double>::infinity();
  for (const double rate : {0.0, -48000.0, 1.1e7, kInfinite, -kInfinite, std::nan("")}) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(descriptor->instantiate(descriptor, rate, "", nullptr), nullptr) << rate;
    EXPECT_NE(testing::internal::GetCapturedStderr().find("is no sample rate"), std::string::npos);
  }
}

namespace {

/// Whether controls reach the sound of an instance, which without a worker takes its timer.
bool isServed(Instance& instance) {
  instance.parameter(kIpTrim) = 6.0F;
  for (int turn = 0; turn < 100; ++turn) {
    if (std::abs(instance.play(48000.0) - 0.25F * 1.99526F) < 1e-4F) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return false;
}

/// What a child of `fork()` may do with the instances that it inherits: leave them, clean them up,
/// and have one of its own beside them.
[[noreturn]] void liveAsChild(const Library& library, int turn,
                              std::vector<std::unique_ptr<Instance>>& inherited) {
  ::alarm(20);
  int status = 0;
  if (turn == 1) inherited.clear();
  if (turn == 2) {
    inherited.pop_back();
    Instance own(library, 1, 48000.0);
    status = isServed(own) ? 0 : 1;
  }
#ifdef __SANITIZE_ADDRESS__  // for which what the threads of the parent held is lost memory
  ::_exit(status);
#endif
  std::exit(status);
}

}  // namespace

TEST(Lv2Bundle, AChildProcessCleansUpPlaysOnAndEnds) {
  const Library library;
  std::vector<std::unique_ptr<Instance>> instances;
  instances.push_back(std::make_unique<Instance>(library, 0, 48000.0));
  instances.push_back(std::make_unique<Instance>(library, 1, 48000.0));
  for (int turn = 0; turn < 3; ++turn) {
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) liveAsChild(library, turn, instances);
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0) << "turn " << turn << ", 14 if it hung";
  }
  EXPECT_TRUE(isServed(*instances[0])) << "the parent";
}

TEST(Lv2Bundle, LoadsAndUnloadsWithoutALeak) {
  const auto round = [] {
    const Library library;
    const Instance instance(library, 0, 48000.0);
  };
  for (int turn = 0; turn < 20; ++turn) round();
  [[maybe_unused]] const long before = residentMemory();
  for (int turn = 0; turn < 100; ++turn) round();
#ifndef __SANITIZE_ADDRESS__  // which keeps back what is freed, and finds leaks by itself
  // A lost instance would cost megabytes, a lost kilobyte per round a tenth of this.
  EXPECT_LT(residentMemory() - before, 1000);
#endif
  EXPECT_EQ(::dlopen(CORVANTHELIS_BUNDLE "/corvanthelis.so", RTLD_NOW | RTLD_NOLOAD), nullptr)
      << "the library stays when it is unloaded";
}
