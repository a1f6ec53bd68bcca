// The libraries as hosts load them and the program, while memory runs out: a call does all it was
// asked for, or is refused and does nothing, and the next one is as ever.

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "apps/aax_host/aax_library.h"
#include "apps/aax_host/hosted_instance.h"
#include "editing/parameter_ids.h"
#include "tests/lv2_wrap/lv2_rig.h"
#include "tests/memory/memory_walk.h"
#include "tests/support/becomes.h"
#include "tests/support/test_directory.h"

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

/// Filters of all kinds, by plain values.
constexpr std::pair<const char*, float> kSound[] = {
    {"kB1SCLF", 1},   {"kB1SCMF", 1},       {"kB1SCMFG", 6},       {"kB1SCHF", 1},
    {"kB2State", 1},  {"kB2Type", 1},       {"kB2SubType", 2},     {"kB2Frequency", 3000},
    {"kB2Gain", -30}, {"kB2SCHF", 1},       {"kB2SCHFType", 1},    {"kB2SCHFG", 6},
    {"kB3State", 1},  {"kB3Type", 1},       {"kB3SubType", 6},     {"kB3Frequency", 700},
    {"kIpTrim", -3},  {"kOversampleOL", 1}, {"kB1Frequency", 200},
};

std::vector<float> tone(std::size_t frames) {
  std::vector<float> samples(frames);
  for (std::size_t i = 0; i < frames; ++i) samples[i] = i % 64 < 32 ? 0.2F : -0.2F;
  return samples;
}

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
  static constexpr Kind kUsual = kState;

  explicit AaxHost(Kind which = kState) : HostedInstance(aaxEffect(), 2), stored(which) {
    static_cast<void>(render(Signal(2, tone(kFrames))));
  }

  static void load() { aaxEffect(); }
  static AAX_IEffectParameters* make() {
    static InstanceHost host(AAX_eStemFormat_Stereo, 48000.0F);
    auto* const made = static_cast<AAX_IEffectParameters*>(
        static_cast<IACFUnknown*>(aaxEffect().procs.at(kAAX_ProcPtrID_Create_EffectParameters)()));
    // What it could not make at once it can make later.
    for (int i = 0; made != nullptr && i < 2; ++i) {
      if (made->Initialize(static_cast<AAX_IController*>(&host)) == AAX_SUCCESS) return made;
      std::int32_t count = 0;
      made->GetNumberOfParameters(&count);
      if (count != 0) throw std::runtime_error("half initialised");
    }
    if (made != nullptr) made->Release();
    return nullptr;
  }
  /// What tells a whole new instance.
  static std::string told(AAX_IEffectParameters* made) {
    std::uint32_t size = 0;
    std::int32_t count = 0;
    made->GetChunkSize(kState, &size);
    made->GetNumberOfParameters(&count);
    return std::to_string(size) + ' ' + std::to_string(count);
  }
  static void end(AAX_IEffectParameters* made) {
    made->Uninitialize();
    made->Release();
  }
  void choose() {
    for (const auto& [identifier, plain] : kSound) {
      set(parameterKeyTable().find(identifier), static_cast<double>(plain));
    }
  }
  static void settle() {}
  void loadText(const std::string& text) {
    if (stored == kState) restore(kState, text);
  }
  /// All that the host sees.
  [[nodiscard]] std::string state() const {
    std::string text = chunk(kState).data;
    for (int i = 0; i <= kNumParams; ++i) text += std::to_string(normalised(id(i))) + ' ';
    return text;
  }
  [[nodiscard]] static Stored room() { return Stored(1 << 20); }
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
    const Signal heard = render(Signal(2, tone(8 * kFrames)));
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
  static constexpr Kind kUsual = kWorker;

  explicit Lv2Host(Kind worker = kWorker) : Lv2Rig(lv2::kPlugins[0], 48000.0, worker) {
    for (auto& channel : in) std::ranges::copy(tone(kMostFrames), channel.begin());
    settle();
  }

  static void load() { lv2_descriptor(0); }
  static LV2_Handle make() {
    static const LV2_Feature feature = {LV2_URID__map, UridMap::feature()};
    static const LV2_Feature* const features[] = {&feature, nullptr};
    return lv2_descriptor(0)->instantiate(lv2_descriptor(0), 48000.0, "", features);
  }
  static std::string told(LV2_Handle made) {
    StoredState state;
    storing()->save(made, &StoredState::store, &state, 0, nullptr);
    return textOf(state);
  }
  static void end(LV2_Handle made) { lv2_descriptor(0)->cleanup(made); }
  void choose() {
    for (const auto& [identifier, plain] : kSound) parameter(identifier) = plain;
  }
  void loadText(const std::string& text) {
    Stored state;
    state.values[UridMap::map(lv2::kChunkUri)] = {{text.begin(), text.end()},
                                                  UridMap::map(LV2_ATOM__Chunk)};
    take(state);
  }
  [[nodiscard]] std::string state() const {
    StoredState stored;
    return save(stored) ? textOf(stored) : "none";
  }
  [[nodiscard]] static Stored room() { return {}; }
  bool save(Stored& state) const { return saveTo(state) == LV2_STATE_SUCCESS; }
  bool take(Stored& state) const {
    return storing()->restore(instance, &StoredState::retrieve, &state, 0, nullptr) ==
           LV2_STATE_SUCCESS;
  }
  [[nodiscard]] std::vector<float> played() {
    for (int i = 0; i < 8; ++i) run(kFrames);
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
  static const LV2_State_Interface* storing() {
    return static_cast<const LV2_State_Interface*>(
        lv2_descriptor(0)->extension_data(LV2_STATE__interface));
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

bool hasStruck() { return shortage().hasStruck(); }

/// A new instance is whole, or there is none; it ends without memory, too.
template <typename Hosted, bool isFirst>
Attempt making() {
  isFirst ? Hosted::load() : keepOthers<Hosted>();
  return []() -> std::string {
    auto* const made = meet(&Hosted::make);
    if (made == nullptr) return hasStruck() ? "" : "none with memory enough";
    const std::string text = Hosted::told(made);
    meet([&] { Hosted::end(made); });
    static const std::string whole = Hosted::told(Hosted::make());
    return text == whole ? "" : "an instance that is not whole";
  };
}

/// What was saved is whole, and what is saved next is of that moment, too. What is restored is
/// there as a whole, or what was there before.
template <typename Hosted, auto kind = Hosted::kUsual>
Attempt storing() {
  keepOthers<Hosted>();
  std::array stored = {Hosted::room(), Hosted::room(), Hosted::room()};
  std::array<std::string, 2> states;
  for (std::size_t i = 0; i < 2; ++i) {
    Hosted hosted(kind);
    const std::string folder(300, 'x');
    hosted.loadText(i == 0 ? R"({"settings": {"parameterLocks": [5], "parameterLinks": [6]}})"
                           : R"({"settings": {"lastPresetFolder": ")" + folder + "\"}}");
    if (i == 1) hosted.choose();
    hosted.settle();
    hosted.save(stored[i]);
    states[i] = hosted.state();
  }
  return [=]() mutable -> std::string {
    Hosted hosted(kind);
    const auto becomes = [&](std::size_t from, std::size_t state) {
      return hosted.take(stored[from]) && hosted.state() == states[state];
    };
    hosted.take(stored[0]);
    const bool isTaken = meet([&] { return hosted.take(stored[1]); });
    if (hosted.state() != states[isTaken ? 1 : 0])
      return isTaken ? "success, and not all is loaded" : "an error, and something is loaded";
    if (!becomes(0, 0)) return "does not go back";
    hosted.take(stored[1]);
    stored[2] = Hosted::room();
    const bool isSaved = meet([&] { return hosted.save(stored[2]); });
    if (hosted.state() != states[1]) return "the next one is another one";
    if (!(isTaken && isSaved) && !hasStruck()) return "refused with memory enough";
    // It may be plain, for want of the memory to pack it.
    return !isSaved || (hosted.take(stored[0]) && becomes(2, 1)) ? "" : "success, and not whole";
  };
}

/// What `change` does to a new instance is in force in the end, also in the sound.
template <typename Hosted>
Walk changing(const char* name, void (*change)(Hosted&), typename Hosted::Kind kind,
              unsigned share = 1, bool elsewhere = false) {
  const auto makeChange = [=](Hosted& hosted) {
    hosted.choose();
    change(hosted);
    hosted.settle();
  };
  const auto prepare = [=]() -> Attempt {
    keepOthers<Hosted>();
    Hosted good(kind);
    makeChange(good);
    usleep(100'000);
    const std::vector<float> sound = good.played();
    return [=, wanted = good.state()]() -> std::string {
      Hosted hosted(kind);
      makeChange(hosted);
      const auto isNear = [](float x, float y) { return std::abs(x - y) < 1e-5F; };
      if (!becomes([&] { return std::ranges::equal(hosted.played(), sound, isNear); }))
        return "the sound never came";
      return hosted.state() == wanted ? "" : "not all values came";
    };
  };
  return {name, prepare, share, false, elsewhere};
}

void setAndName(AaxHost& host) {
  const std::string id = host.id(kB1SCMFQ);
  const std::string track(200, 'x');
  const std::string before = host.state();
  if (!meet([&] { return host.update(id, 1.0) == AAX_SUCCESS; })) {
    if (host.state() != before) throw std::runtime_error("refused, and something was done");
    host.update(id, 1.0);
  }
  meet([&] { host.notify(AAX_eNotificationEvent_TrackNameChanged, track); });
}

void goOffline(AaxHost& host) {
  Signal in(2, std::vector<float>(512));
  Signal out = in;
  host.notify(AAX_eNotificationEvent_EnteringOfflineMode);
  host.prepareBlock(in, out, 0, 512);
  void* const one = host.context();
  meet([&] { host.proc(&one, &one + 1); });
}

void runOnce(Lv2Host& host) {
  meet([&] { host.descriptor->run(host.instance, kFrames); });
}

TEST(AaxMemory, MakingAndEnding) {
  walkMemory({{"create", &making<AaxHost, false>, 100},
              {"create, the first", &making<AaxHost, true>, 200, true}});
}

TEST(AaxMemory, States) {
  walkMemory({{"states", &storing<AaxHost>, 20}, {"controls", &storing<AaxHost, kControls>, 50}});
}

TEST(AaxMemory, Playing) {
  walkMemory({changing<AaxHost>("set a parameter, name the track", &setAndName, kState),
              changing<AaxHost>("begin to render offline", &goOffline, kState)});
}

TEST(Lv2Memory, MakingAndEnding) {
  walkMemory({{"create", &making<Lv2Host, false>, 100},
              {"create, the first", &making<Lv2Host, true>, 200, true}});
}

TEST(Lv2Memory, States) { walkMemory({{"states", &storing<Lv2Host>, 20}}); }

TEST(Lv2Memory, Playing) {
  const auto job = [](Lv2Host& host) {
    runOnce(host);
    meet([&] { host.work(); });
  };
  const auto offline = [](Lv2Host& host) {
    host.control(host.layout.freewheel()) = 1.0F;
    runOnce(host);
  };
  const auto activate = [](Lv2Host& host) {
    meet([&] { host.descriptor->activate(host.instance); });
  };
  const auto tick = [](Lv2Host& host) {
    host.run(kFrames);
    meet([] { return becomes(&hasStruck, std::chrono::seconds(1)); });
  };
  walkMemory({changing<Lv2Host>("run and job", job, Lv2Rig::kWorker),
              changing<Lv2Host>("run offline", offline, Lv2Rig::kNoWorker, 4),
              changing<Lv2Host>("activate", activate, Lv2Rig::kWorker, 4),
              changing<Lv2Host>("tick", tick, Lv2Rig::kNoWorker, 1, true)});
}

/// The command is done as ever, or it says in one line why not, and its file is made or as it was.
Attempt running(const TestDirectory& home, const std::string& words) {
  const std::string command =
      "cd " + home.path("") +
      " && exec env -i LD_PRELOAD=" CORVANTHELIS_PRELOAD
      " XDG_CONFIG_HOME=$PWD/config HOME=$PWD CORVANTHELIS_PATH=$PWD " CORVANTHELIS_PROGRAM " " +
      words + " >>out 2>>err";
  const std::shared_ptr<std::FILE> program(popen(command.c_str(), "we"), &pclose);
  return [&home, program, made = std::string(), told = std::string()]() mutable -> std::string {
    writeBytes(home.path("made.wav"), "old");
    for (const char* const stream : {"out", "err"}) writeBytes(home.path(stream), "");
    std::fputc(0, program.get());
    std::fflush(program.get());
    sem_wait(&shortage().hasRun);
    const int status = shortage().status;
    const std::string reason = readBytes(home.path("err"));
    if (!hasStruck()) {
      made = readBytes(home.path("made.wav"));
      told = readBytes(home.path("out"));
      return status == 0 ? "" : "fails with memory enough: " + reason;
    }
    const bool isMade = readBytes(home.path("made.wav")) == made;
    const bool isDone = status == 0 && isMade && readBytes(home.path("out")) == told;
    const bool isTold =
        reason.ends_with("not enough memory\n") && std::ranges::count(reason, '\n') == 1;
    const bool isRefused = WIFEXITED(status) && WEXITSTATUS(status) == 1 && isTold &&
                           (isMade || readBytes(home.path("made.wav")) == "old");
    for (const std::string& name : home.names()) {
      if (name.ends_with("-part")) return name + " is left behind";
    }
    return isDone || isRefused ? "" : std::to_string(status) + ' ' + reason;
  };
}

TEST(ProgramMemory, EveryCommandSaysSoAndLeavesNothingHalf) {
  const TestDirectory home;
  writeBytes(
      home.path("state"),
      R"({"parameters": {"kB1Threshold": 0.25, "kB2State": 1, "kB1SCLF": 1}, "v101": true})");
  // A header, then 16-bit samples. Of WAV files the audio library does not get past one allocation.
  std::string sound(".snd\0\0\0\x18\0\0\x17\0\0\0\0\x03\0\0\xbb\x80\0\0\0\x01", 24);
  for (int i = 0; i < 0x1700 / 2; ++i) {
    sound += {static_cast<char>(i % 32), static_cast<char>(i * 40)};
  }
  writeBytes(home.path("in.au"), sound);
  std::filesystem::create_directories(home.path("Presets/Mine"));
  const std::string pack =
      "cd " + home.path("") + " && " CORVANTHELIS_PROGRAM " state pack state packed";
  ASSERT_EQ(std::system(pack.c_str()), 0);
  const auto command = [&home](const char* words, unsigned share = 50) {
    return Walk{words, [&home, words] { return running(home, words); }, share};
  };
  // The folders first, each of which is listed by calls of its own depth.
  walkMemory({command("presets list", 5)});
  walkMemory({command("--version"), command("state pack state made.wav"),
              command("state show packed"), command("band save state 1 made.wav"),
              command("render in.au made.wav --quiet --preset state"),
              command("curve --band 1 --state state")});
}

}  // namespace
