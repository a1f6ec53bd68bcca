// The LV2 library as hosts load it, while memory runs out.

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <memory>
#include <numbers>
#include <stdexcept>
#include <string>

#include "tests/lv2_wrap/lv2_rig.h"
#include "tests/memory/memory_walk.h"
#include "tests/support/host_memory.h"

// What the rig finds its plug-ins by.
const LV2_Descriptor* lv2_descriptor(std::uint32_t index) {
  static void* const library = dlopen(CORVANTHELIS_LV2, RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) throw std::runtime_error(dlerror());
  return reinterpret_cast<LV2_Descriptor_Function>(dlsym(library, "lv2_descriptor"))(index);
}

namespace {

constexpr std::uint32_t kFrames = 1024;
constexpr std::uint32_t kStereo = 0;
constexpr int kFirstStep = 23;
constexpr useconds_t kTick = 10'000;

/// A sound with filters of all kinds.
constexpr std::array<std::pair<const char*, float>, 19> kSound = {{
    {"kB1SCLF", 1},   {"kB1SCMF", 1},       {"kB1SCMFG", 6},       {"kB1SCHF", 1},
    {"kB2State", 1},  {"kB2Type", 1},       {"kB2SubType", 2},     {"kB2Frequency", 3000},
    {"kB2Gain", -30}, {"kB2SCHF", 1},       {"kB2SCHFType", 1},    {"kB2SCHFG", 6},
    {"kB3State", 1},  {"kB3Type", 1},       {"kB3SubType", 6},     {"kB3Frequency", 700},
    {"kIpTrim", -3},  {"kOversampleOL", 1}, {"kB1Frequency", 200},
}};

/// A host whose own memory does not run out.
class Host : public Lv2Rig {
 public:
  explicit Host(Worker worker = kWorker) : Lv2Rig(lv2::kPlugins[kStereo], 48000.0, worker) {
    for (std::uint32_t i = 0; i < kMostFrames; ++i) {
      in[0][i] = in[1][i] =
          0.25F * std::sin(static_cast<float>(i % 64) * 0.03125F * std::numbers::pi_v<float>);
    }
  }
  void choose() {
    for (const auto& [identifier, plain] : kSound) parameter(identifier) = plain;
  }
  void settle() {
    for (int i = 0; i < 3; ++i) {
      run(kFrames);
      work();
    }
  }
  /// The end of some long sound.
  std::vector<float> played() {
    for (int i = 0; i < 12; ++i) run(kFrames);
    return {out[0].begin(), out[0].begin() + kFrames};
  }
  LV2_State_Status saveTo(StoredState& state) const {
    state.values.clear();
    return interface<LV2_State_Interface>(LV2_STATE__interface)
        ->save(instance, &store, &state, 0, nullptr);
  }
  std::string state() const {
    StoredState stored;
    if (saveTo(stored) != LV2_STATE_SUCCESS) return "none";
    return textOf(stored);
  }
  static std::string textOf(const StoredState& stored) {
    std::string text;
    for (const auto& [key, value] : stored.values)
      text.append(value.bytes.begin(), value.bytes.end());
    return text;
  }
  static LV2_State_Status store(LV2_State_Handle handle, std::uint32_t key, const void* value,
                                std::size_t size, std::uint32_t type, std::uint32_t flags) {
    const HostMemory own;
    return StoredState::store(handle, key, value, size, type, flags);
  }
};

bool near(const std::vector<float>& a, const std::vector<float>& b) {
  return std::equal(a.begin(), a.end(), b.begin(),
                    [](float x, float y) { return std::abs(x - y) < 1e-5F; });
}

/// What an instance saves that was made under a shortage; empty for null.
std::string madeUnder(const Shortage& shortage) {
  static LV2_URID_Map map = {nullptr, [](LV2_URID_Map_Handle, const char* uri) {
                               const HostMemory own;
                               return UridMap::map(uri);
                             }};
  static const LV2_Feature feature = {LV2_URID__map, &map};
  static const LV2_Feature* const features[] = {&feature, nullptr};
  const LV2_Descriptor& plugin = *lv2_descriptor(kStereo);
  const LV2_Handle instance =
      shortage.under([&] { return plugin.instantiate(&plugin, 48000.0, "", features); });
  if (instance == nullptr) return "";
  StoredState state;
  const auto* const interface =
      static_cast<const LV2_State_Interface*>(plugin.extension_data(LV2_STATE__interface));
  // A state of nothing is that of a new instance.
  const auto status = interface->restore(instance, &StoredState::retrieve, &state, 0, nullptr);
  interface->save(instance, &Host::store, &state, 0, nullptr);
  plugin.cleanup(instance);
  return status == LV2_STATE_SUCCESS ? Host::textOf(state) : "no new state";
}

/// Whether `isIt` comes true while jobs and ticks have their time.
bool comes(const std::function<bool()>& isIt) {
  for (int i = 0; i < 100; ++i) {
    if (isIt()) return true;
    usleep(kTick);
  }
  return false;
}

/// Changes the sound of a new instance by `change`, which meets a shortage: in the end it is there.
Attempt moving(Lv2Rig::Worker worker, bool freewheels,
               const std::function<void(Host&, const Shortage&)>& change) {
  const auto changed = [=](const Shortage& shortage) {
    auto host = std::make_unique<Host>(worker);
    host->settle();
    host->control(host->layout.freewheel()) = freewheels ? 1.0F : 0.0F;
    host->choose();
    change(*host, shortage);
    host->settle();
    return host;
  };
  const auto host = changed({-1, false});
  usleep(10 * kTick);
  return [=, sound = host->played(), state = host->state()](const Shortage& shortage) {
    const auto after = changed(shortage);
    if (!comes([&] { return near(after->played(), sound); })) return "the sound never came";
    return after->state() == state ? "" : "not all values came";
  };
}

TEST(Lv2Memory, Instantiating) {
  walkMemory("instantiate",
             [] {
               return [whole = madeUnder({-1, false})](const Shortage& shortage) -> std::string {
                 const std::string made = madeUnder(shortage);
                 if (made.empty()) return shortage.struck ? "" : "null with memory enough";
                 return made == whole ? "" : "an instance that is not whole";
               };
             },
             {.step = 3, .lastingStep = 11});
  // What a process makes once.
  walkMemory("instantiate, the first",
             [] {
               return [](const Shortage& shortage) {
                 constexpr int kStruck = 3;
                 const pid_t process = fork();
                 if (process == 0) {
                   madeUnder(shortage);
                   _exit(shortage.struck ? kStruck : 0);
                 }
                 int status = 0;
                 waitpid(process, &status, 0);
                 shortage.struck = !WIFEXITED(status) || WEXITSTATUS(status) == kStruck;
                 return WIFEXITED(status) ? "" : "a death";
               };
             },
             {.step = kFirstStep, .lastingStep = kFirstStep});
}

template <typename Meet>
Attempt withStates(const Meet& meet) {
  auto host = std::make_shared<Host>();
  std::array<StoredState, 2> states;
  host->saveTo(states[0]);
  host->choose();
  host->settle();
  host->saveTo(states[1]);
  return [=](const Shortage& shortage) { return meet(*host, states, shortage); };
}

TEST(Lv2Memory, Restoring) {
  walkMemory("restore", [] {
    return withStates([](Host& host, const auto& states, const Shortage& shortage) -> std::string {
      StoredState wanted = states[1];
      host.restore(states[0]);
      const auto* const interface = host.interface<LV2_State_Interface>(LV2_STATE__interface);
      const auto status = shortage.under([&] {
        return interface->restore(host.instance, &StoredState::retrieve, &wanted, 0, nullptr);
      });
      const bool loaded = host.state() == Host::textOf(states[1]);
      const bool kept = host.state() == Host::textOf(states[0]);
      if (status == LV2_STATE_SUCCESS)
        return loaded ? "" : kept ? "success, and nothing loaded" : "success, and half loaded";
      return kept ? "" : loaded ? "an error, and loaded" : "an error, and half loaded";
    });
  });
}

TEST(Lv2Memory, Saving) {
  walkMemory("save", [] {
    return withStates([](Host& host, const auto& states, const Shortage& shortage) -> std::string {
      host.descriptor->activate(host.instance);
      StoredState saved;
      const auto status = shortage.under([&] { return host.saveTo(saved); });
      if (host.state() != Host::textOf(states[1])) return "the next save is another one";
      if (status != LV2_STATE_SUCCESS) return "";
      // It may be plain, for want of the memory to pack it.
      host.restore(saved);
      return host.state() == Host::textOf(states[1]) ? "" : "success, and not whole";
    });
  });
}

TEST(Lv2Memory, Playing) {
  walkMemory("job of the worker", [] {
    return moving(Lv2Rig::kWorker, false, [](Host& host, const Shortage& shortage) {
      host.run(kFrames);
      shortage.under([&] { host.work(); });
    });
  });
  walkMemory("run in real time", [] {
    return moving(Lv2Rig::kWorker, false, [](Host& host, const Shortage& shortage) {
      shortage.under([&] { host.descriptor->run(host.instance, kFrames); });
    });
  });
  walkMemory("run, freewheeling", [] {
    return moving(Lv2Rig::kNoWorker, true, [](Host& host, const Shortage& shortage) {
      shortage.under([&] { host.descriptor->run(host.instance, kFrames); });
    });
  });
  walkMemory("activate", [] {
    return moving(Lv2Rig::kWorker, false, [](Host& host, const Shortage& shortage) {
      shortage.under([&] { host.descriptor->activate(host.instance); });
    });
  });
  walkMemory("ticks",
             [] {
               return moving(Lv2Rig::kNoWorker, false, [](Host& host, const Shortage& shortage) {
                 host.run(kFrames);
                 shortage.under([&] { comes([&] { return shortage.struck; }); });
               });
             },
             {.elsewhere = true});
  walkMemory("clean up", [] {
    return moving(Lv2Rig::kNoWorker, false, [](Host&, const Shortage& shortage) {
      Host other;
      // The timer must go on for the one that stays.
      shortage.under([&] { other.descriptor->cleanup(other.instance); });
      other.instance = other.descriptor->instantiate(other.descriptor, 48000.0, "", nullptr);
    });
  });
}

}  // namespace
