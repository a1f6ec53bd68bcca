// The libraries as hosts load them, while memory runs out: a call does all it was asked for, or is
// refused and does nothing, and the next one is as ever.

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "core/parameter_ids.h"
#include "tests/aax_host/aax_library.h"
#include "tests/aax_host/hosted_instance.h"
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

constexpr AAX_CTypeID kState = AAX_TypeID("CvnP");
constexpr AAX_CTypeID kControls = AAX_TypeID("elck");
constexpr int kFrames = 1024;
constexpr int kSettled = 8 * kFrames;
constexpr useconds_t kTick = 10'000;

/// Filters of all kinds, by plain values.
constexpr std::array<std::pair<const char*, float>, 19> kSound = {{
    {"kB1SCLF", 1},   {"kB1SCMF", 1},       {"kB1SCMFG", 6},       {"kB1SCHF", 1},
    {"kB2State", 1},  {"kB2Type", 1},       {"kB2SubType", 2},     {"kB2Frequency", 3000},
    {"kB2Gain", -30}, {"kB2SCHF", 1},       {"kB2SCHFType", 1},    {"kB2SCHFG", 6},
    {"kB3State", 1},  {"kB3Type", 1},       {"kB3SubType", 6},     {"kB3Frequency", 700},
    {"kIpTrim", -3},  {"kOversampleOL", 1}, {"kB1Frequency", 200},
}};

float tone(int frame) { return frame % 64 < 32 ? 0.2F : -0.2F; }

const RecordedEffect& aaxEffect() {
  static HostUnknown host;
  static const AaxLibrary library(CORVANTHELIS_AAX);
  static IACFPluginDefinition* definition = nullptr;
  if (definition == nullptr) library.registerPlugin(host.unknown(), &definition);
  return *host.collections.front()->effects.front();
}

/// A host of one AAX instance, which stores one of its two chunks.
class AaxHost : public HostedInstance {
 public:
  using Kind = AAX_CTypeID;
  using Stored = std::vector<char>;  // as the plug-in writes it

  explicit AaxHost(Kind which = kState) : HostedInstance(aaxEffect(), 2), stored(which) {}

  static void load() { aaxEffect(); }
  static AAX_IEffectParameters* make() {
    return static_cast<AAX_IEffectParameters*>(
        static_cast<IACFUnknown*>(aaxEffect().procs.at(kAAX_ProcPtrID_Create_EffectParameters)()));
  }
  /// What tells a whole new instance, which ends here.
  static std::string ended(AAX_IEffectParameters* made) {
    std::uint32_t size = 0;
    made->GetChunkSize(kState, &size);
    made->Release();
    return std::to_string(size);
  }
  void choose() {
    for (const auto& [identifier, plain] : kSound) {
      set(parameterKeyTable().find(identifier), static_cast<double>(plain));
    }
  }
  void trim(float decibels) { set(kIpTrim, static_cast<double>(decibels)); }
  /// All that the host sees.
  [[nodiscard]] std::string state() const {
    std::string text = chunk(kState).data;
    for (int i = 0; i <= kNumParams; ++i) text += std::to_string(normalised(id(i))) + ' ';
    return text;
  }
  [[nodiscard]] Stored room() const { return Stored(1 << 20); }
  bool save(Stored& chunk) const {
    std::uint32_t size = 0;
    return parameters->GetChunkSize(stored, &size) == AAX_SUCCESS &&
           parameters->GetChunk(stored, reinterpret_cast<AAX_SPlugInChunk*>(chunk.data())) ==
               AAX_SUCCESS;
  }
  bool take(const Stored& chunk) const {
    const auto* const record = reinterpret_cast<const AAX_SPlugInChunk*>(chunk.data());
    return parameters->SetChunk(stored, record) == AAX_SUCCESS;
  }
  /// The end of some long sound.
  [[nodiscard]] std::vector<float> played() {
    Signal in(2);
    for (int i = 0; i < kSettled; ++i) in[0].push_back(tone(i));
    in[1] = in[0];
    const Signal heard = render(in);
    return {heard[0].end() - 64, heard[0].end()};
  }

 private:
  const Kind stored;
};

/// A host of one LV2 instance, whose own memory does not run out.
class Lv2Host : public Lv2Rig {
 public:
  using Kind = Worker;
  using Stored = StoredState;

  explicit Lv2Host(Kind worker = kWorker) : Lv2Rig(lv2::kPlugins[0], 48000.0, worker) {
    for (int i = 0; i < static_cast<int>(kMostFrames); ++i)
      in[0][static_cast<std::size_t>(i)] = tone(i);
    in[1] = in[0];
    settle();
  }

  static void load() { lv2_descriptor(0); }
  static LV2_Handle make() {
    static LV2_URID_Map map = {nullptr, [](LV2_URID_Map_Handle, const char* uri) {
                                 const HostMemory own;
                                 return UridMap::map(uri);
                               }};
    static const LV2_Feature feature = {LV2_URID__map, &map};
    static const LV2_Feature* const features[] = {&feature, nullptr};
    return lv2_descriptor(0)->instantiate(lv2_descriptor(0), 48000.0, "", features);
  }
  static std::string ended(LV2_Handle made) {
    StoredState state;
    const auto* const storing = static_cast<const LV2_State_Interface*>(
        lv2_descriptor(0)->extension_data(LV2_STATE__interface));
    storing->save(made, &store, &state, 0, nullptr);
    // A state of nothing is that of a new instance.
    StoredState nothing;
    storing->restore(made, &StoredState::retrieve, &nothing, 0, nullptr);
    storing->save(made, &store, &nothing, 0, nullptr);
    lv2_descriptor(0)->cleanup(made);
    return textOf(state) + textOf(nothing);
  }
  void choose() {
    for (const auto& [identifier, plain] : kSound) parameter(identifier) = plain;
    settle();
  }
  void trim(float decibels) {
    parameter(kIpTrim) = decibels;
    descriptor->activate(instance);
  }
  [[nodiscard]] std::string state() const {
    StoredState stored;
    return save(stored) ? textOf(stored) : "none";
  }
  [[nodiscard]] static Stored room() { return {}; }
  bool save(Stored& state) const {
    return storing()->save(instance, &store, &state, 0, nullptr) == LV2_STATE_SUCCESS;
  }
  bool take(Stored& state) const {
    return storing()->restore(instance, &StoredState::retrieve, &state, 0, nullptr) ==
           LV2_STATE_SUCCESS;
  }
  [[nodiscard]] std::vector<float> played() {
    for (int i = 0; i < kSettled; i += kFrames) run(kFrames);
    return {out[0].begin(), out[0].begin() + kFrames};
  }
  /// Until what the ports hold is in force.
  void settle() {
    for (int i = 0; i < 3; ++i) {
      run(kFrames);
      work();
    }
  }

 private:
  [[nodiscard]] const LV2_State_Interface* storing() const {
    return interface<LV2_State_Interface>(LV2_STATE__interface);
  }
  static LV2_State_Status store(LV2_State_Handle handle, std::uint32_t key, const void* value,
                                std::size_t size, std::uint32_t type, std::uint32_t flags) {
    const HostMemory own;
    return StoredState::store(handle, key, value, size, type, flags);
  }
  static std::string textOf(const StoredState& stored) {
    std::string text;
    for (const auto& [key, value] : stored.values)
      text.append(value.bytes.begin(), value.bytes.end());
    return text;
  }
};

/// Others of their kind, without which the heap is given back after each instance.
template <typename Hosted>
void keepOthers() {
  static const std::array<Hosted, 2> kOthers;
}

/// Whether `isIt` comes true while jobs and ticks have their time.
template <typename Condition>
bool comes(const Condition& isIt) {
  for (int i = 0; i < 100; ++i) {
    if (isIt()) return true;
    usleep(kTick);
  }
  return false;
}

/// A new instance is whole, or there is none.
template <typename Hosted, bool isFirst>
Attempt making() {
  isFirst ? Hosted::load() : keepOthers<Hosted>();
  return []() -> std::string {
    auto* const made = meet(&Hosted::make);
    if (made == nullptr) return hasStruck() ? "" : "none with memory enough";
    const std::string text = Hosted::ended(made);
    static const std::string whole = Hosted::ended(Hosted::make());
    return text == whole ? "" : "an instance that is not whole";
  };
}

Attempt initialising() {
  keepOthers<AaxHost>();
  return [host = std::make_shared<InstanceHost>(AAX_eStemFormat_Stereo, 48000.0F),
          made = AaxHost::make()]() mutable -> std::string {
    AAX_IController* const controller = host.get();
    const bool isDone = meet([&] { return made->Initialize(controller) == AAX_SUCCESS; });
    std::int32_t count = 0;
    made->GetNumberOfParameters(&count);
    if (isDone) std::exchange(made, AaxHost::make())->Release();
    return count == (isDone ? kNumParams + 1 : 0) ? "" : "half initialised";
  };
}

/// What was saved is whole, and what is saved next is of that moment, too.
template <typename Hosted>
Attempt saving() {
  auto hosted = std::make_shared<Hosted>();
  hosted->choose();
  std::array<std::string, 2> states;
  for (const bool isLoud : {false, true}) {
    hosted->trim(isLoud ? 3.0F : -3.0F);
    states[isLoud ? 1 : 0] = hosted->state();
  }
  return [hosted, states, isLoud = true]() mutable -> std::string {
    isLoud = !isLoud;
    hosted->trim(isLoud ? 3.0F : -3.0F);
    auto saved = hosted->room();
    const bool isDone = meet([&] { return hosted->save(saved); });
    const std::string& whole = states[isLoud ? 1 : 0];
    if (hosted->state() != whole) return "the next one is another one";
    if (!isDone) return hasStruck() ? "" : "refused with memory enough";
    // It may be plain, for want of the memory to pack it.
    const bool isTaken = hosted->take(saved);
    return isTaken && hosted->state() == whole ? "" : "success, and not whole";
  };
}

/// What is restored is there as a whole, or what was there before.
template <typename Hosted>
std::function<Attempt()> restoring(typename Hosted::Kind kind) {
  return [kind] {
    auto hosted = std::make_shared<Hosted>(kind);
    std::array stored = {hosted->room(), hosted->room()};
    std::array<std::string, 2> states;
    for (std::size_t i = 0; i < 2; ++i) {
      if (i == 1) hosted->choose();
      hosted->save(stored[i]);
      states[i] = hosted->state();
    }
    return [=]() mutable -> std::string {
      hosted->take(stored[0]);
      const bool isDone = meet([&] { return hosted->take(stored[1]); });
      if (!isDone && !hasStruck()) return "refused with memory enough";
      if (hosted->state() == states[isDone ? 1 : 0]) return "";
      return isDone ? "success, and not all is loaded" : "an error, and something is loaded";
    };
  };
}

/// What `change` does to a new instance is in force in the end, also in the sound, or is refused.
template <typename Hosted>
std::function<Attempt()> changing(typename Hosted::Kind kind, bool (*change)(Hosted&)) {
  return [=] {
    keepOthers<Hosted>();
    Hosted good(kind);
    const std::string former = good.state();
    change(good);
    usleep(10 * kTick);
    const std::vector<float> sound = good.played();
    return [=, wanted = good.state()]() -> std::string {
      Hosted hosted(kind);
      if (!change(hosted)) return hosted.state() == former ? "" : "refused, and something was done";
      const auto isNear = [](float x, float y) { return std::abs(x - y) < 1e-5F; };
      if (!comes([&] { return std::ranges::equal(hosted.played(), sound, isNear); }))
        return "the sound never came";
      return hosted.state() == wanted ? "" : "not all values came";
    };
  };
}

/// Moves the ports, which `call` of the host brings into force while memory runs out.
template <auto call>
bool move(Lv2Host& host) {
  for (const auto& [identifier, plain] : kSound) host.parameter(identifier) = plain;
  call(host);
  host.settle();
  return true;
}

void runOnce(Lv2Host& host) {
  meet([&] { host.descriptor->run(host.instance, kFrames); });
}

TEST(AaxMemory, MakingAndEnding) {
  walkMemory({{"create", &making<AaxHost, false>, 20},
              {"create, the first", &making<AaxHost, true>, 200, true}});
  walkMemory(
      {{"initialise", &initialising, 20}, {"end", changing<AaxHost>(kState, [](AaxHost& stays) {
                                             AaxHost other;
                                             meet([&] { other.close(); });
                                             return stays.parameters != nullptr;
                                           })}});
}

TEST(AaxMemory, States) {
  walkMemory({{"save", &saving<AaxHost>, 4}});
  walkMemory({{"restore", restoring<AaxHost>(kState), 4}});
  walkMemory({{"restore controls", restoring<AaxHost>(kControls), 20}});
}

TEST(AaxMemory, Playing) {
  walkMemory({{"set a parameter", changing<AaxHost>(kState, [](AaxHost& host) {
                 const std::string id = host.id(kB1SCLF);
                 return meet([&] { return host.update(id, 1.0) == AAX_SUCCESS; });
               })}});
  walkMemory({{"name the track", changing<AaxHost>(kState, [](AaxHost& host) {
                 const std::string name(200, 'x');
                 meet([&] { host.notify(AAX_eNotificationEvent_TrackNameChanged, name); });
                 return true;
               })}});
  walkMemory({{"begin to render offline", changing<AaxHost>(kState, [](AaxHost& host) {
                 Signal in(2, std::vector<float>(512));
                 Signal out = in;
                 static_cast<void>(host.render(in));
                 host.choose();
                 host.notify(AAX_eNotificationEvent_EnteringOfflineMode);
                 host.prepareBlock(in, out, 0, 512);
                 void* const one = host.context();
                 meet([&] { host.proc(&one, &one + 1); });
                 return true;
               })}});
}

TEST(Lv2Memory, MakingAndEnding) {
  walkMemory({{"create", &making<Lv2Host, false>, 20},
              {"create, the first", &making<Lv2Host, true>, 200, true}});
  walkMemory({{"end", changing<Lv2Host>(Lv2Rig::kNoWorker, &move<[](Lv2Host& /*stays*/) {
                                          Lv2Host other(Lv2Rig::kNoWorker);
                                          // The timer must go on for the one that stays.
                                          meet([&] { other.descriptor->cleanup(other.instance); });
                                          other.instance = Lv2Host::make();
                                        }>)}});
}

TEST(Lv2Memory, States) {
  walkMemory({{"save", &saving<Lv2Host>, 4}});
  walkMemory({{"restore", restoring<Lv2Host>(Lv2Rig::kWorker), 4}});
}

TEST(Lv2Memory, Playing) {
  walkMemory({{"job", changing<Lv2Host>(Lv2Rig::kWorker, &move<[](Lv2Host& host) {
                                          host.run(kFrames);
                                          meet([&] { host.work(); });
                                        }>)}});
  walkMemory({{"run in real time", changing<Lv2Host>(Lv2Rig::kWorker, &move<&runOnce>)}});
  walkMemory({{"run offline", changing<Lv2Host>(Lv2Rig::kNoWorker, &move<[](Lv2Host& host) {
                                                  host.control(host.layout.freewheel()) = 1.0F;
                                                  runOnce(host);
                                                }>),
               4}});
  walkMemory(
      {{"activate",
        changing<Lv2Host>(
            Lv2Rig::kWorker,
            &move<[](Lv2Host& host) { meet([&] { host.descriptor->activate(host.instance); }); }>),
        4}});
  walkMemory({{"tick", changing<Lv2Host>(Lv2Rig::kNoWorker, &move<[](Lv2Host& host) {
                                           host.run(kFrames);
                                           meet([] { comes(&hasStruck); });
                                         }>),
               1, false, true}});
}

}  // namespace
