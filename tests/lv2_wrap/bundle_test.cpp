// The built library, as hosts load it.

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <lv2/core/lv2.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "core/parameter_table.h"
#include "libraries/lv2_wrap/port_layout.h"

namespace {

class Library {
 public:
  Library() : handle(::dlopen(CORVANTHELIS_BUNDLE "/corvanthelis.so", RTLD_NOW | RTLD_LOCAL)) {
    if (handle == nullptr) throw std::runtime_error(::dlerror());
  }
  ~Library() { ::dlclose(handle); }
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;
  [[nodiscard]] const LV2_Descriptor* descriptor(std::uint32_t index) const {
    return reinterpret_cast<LV2_Descriptor_Function>(::dlsym(handle, "lv2_descriptor"))(index);
  }

 private:
  void* handle;
};

/// An instance with all ports connected, which plays a constant.
class Instance {
 public:
  static constexpr std::uint32_t kFrames = 512;

  Instance(const Library& library, std::uint32_t index, double rate)
      : layout(lv2::kPlugins[index]),
        descriptor(library.descriptor(index)),
        handle(descriptor->instantiate(descriptor, rate, "", nullptr)),
        memory(static_cast<std::size_t>(layout.count()) * kFrames) {
    for (int port = 0; port < layout.count(); ++port) {
      float* const data = memory.data() + static_cast<std::size_t>(port) * kFrames;
      if (port < layout.control()) std::fill_n(data, kFrames, 0.25F);
      if (port == layout.enabled()) *data = 1.0F;
      if (port >= layout.firstParameter()) {
        const int id = lv2::parameterInPlace(port - layout.firstParameter());
        *data = kParameterTable[static_cast<std::size_t>(id)].value;
      }
      const bool events = port == layout.control() || port == layout.notify();
      descriptor->connect_port(handle, static_cast<std::uint32_t>(port), events ? nullptr : data);
    }
    descriptor->activate(handle);
  }
  ~Instance() { descriptor->cleanup(handle); }
  Instance(const Instance&) = delete;
  Instance& operator=(const Instance&) = delete;

  /// Plays a quarter of a second; the last sample out.
  [[nodiscard]] float play(double rate) {
    for (double at = 0.0; at < rate * 0.25; at += kFrames) descriptor->run(handle, kFrames);
    return memory[static_cast<std::size_t>(layout.output(0)) * kFrames + kFrames - 1];
  }

 private:
  const lv2::PortLayout& layout;
  const LV2_Descriptor* descriptor;
  LV2_Handle handle;
  std::vector<float> memory;
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
  std::vector<std::unique_ptr<Instance>> instances;
  for (std::uint32_t i = 0; i < 32; ++i) {
    instances.push_back(std::make_unique<Instance>(library, i % 3, kRates[i % kRates.size()]));
  }
  for (std::size_t i = 0; i < instances.size(); ++i) {
    EXPECT_NEAR(instances[i]->play(kRates[i % kRates.size()]), 0.25F, 1e-6F) << i;
  }
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
