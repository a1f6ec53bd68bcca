#include "tests/hosted/hosted.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <optional>

#include "apps/aax_host/aax_session.h"
#include "apps/aax_host/parameter_facts.h"
#include "state/machine.h"
#include "tests/lv2_wrap/lv2_rig.h"
#include "tests/support/test_directory.h"

Signal Hosted::render(Signal in) {
  const auto channels = static_cast<std::size_t>(setup.channels);
  Signal apart(channels, std::vector<float>(in[0].size(), -1.0F));
  Signal& out = setup.inPlace ? in : apart;
  std::optional<RealTimeCheck::Exception> mayLeave;
  if (isOffline) mayLeave.emplace();
  process(in, out);
  out.resize(channels);
  return out;
}

void Hosted::setOffline(bool on) {
  tellOffline(on);
  isOffline = true;  // the block that meets it may leave real time
  rest(64);
  isOffline = on;
}

void Hosted::turn(int id, int position) {
  int number = 3;  // moves nothing
  for (const auto& [moved, controller] : kControllers) number = moved == id ? controller : number;
  queue(static_cast<std::uint8_t>(number), static_cast<std::uint8_t>(position));
  rest(64);
}

std::string copyAlone(const std::string& library) {
  struct Home {
    Home() {
      setenv("XDG_CONFIG_HOME", folder.path("config").c_str(), 1);
      setenv("XDG_DATA_HOME", folder.path("data").c_str(), 1);
      setenv("XDG_DATA_DIRS", folder.path("none").c_str(), 1);
      for (const auto& [id, number] : kControllers) getMidiMap().learn(id, number);
      // Changes at once, to be compared with those of the effect alone.
      Plug(nullptr, Plug::Idle::kCaller).machine().globals().setGlobal("Seamless", 0);
    }
    const TestDirectory folder;
  };
  namespace fs = std::filesystem;
  static const Home home;
  // Where it finds no factory content: what is checked does not depend on what lies beside it.
  const std::string copy = home.folder.path(fs::path(library).filename().string());
  fs::copy_file(library, copy, fs::copy_options::skip_existing);
  return copy;
}

namespace {

/// The library of a kind, loaded until it is reset.
template <typename Library>
std::optional<Library>& loaded(const char* path) {
  static std::optional<Library> library;
  if (!library) library.emplace(copyAlone(path));
  return library;
}

class HostedAax final : public Hosted {
 public:
  static std::optional<AaxSession>& session() { return loaded<AaxSession>(CORVANTHELIS_AAX); }

  explicit HostedAax(const HostSetup& itsSetup)
      : Hosted(itsSetup),
        instance(session()->effect(), setup.channels, static_cast<float>(setup.rate)) {
    instance.meters.fill(kUntouched);
  }
  void set(const Settings& settings) override {
    for (const auto& [id, plain] : settings) instance.set(id, plain);
  }
  void settle() override { waitForIdle(); }
  void setBypass(bool on) override {
    instance.update("bypass", on ? 1.0 : 0.0);
    isBypassed = on;
  }
  std::multimap<int, double> takeTold() override {
    std::multimap<int, double> told;
    for (const AutomationEvent& event : instance.host.takeEvents()) {
      std::int32_t index = -1;
      instance.parameters->GetParameterIndex(event.id.c_str(), &index);
      if (event.kind == 'P') told.emplace(index, event.normalised);
    }
    return told;
  }
  bool means(int id, double value, double plain) const override {
    const ParameterFacts facts(id);
    if (!facts.stepped) return std::abs(value - facts.hostValue(plain)) < 1e-6;
    const auto stepOf = [&](double x) { return std::lround(x * (facts.hostSteps - 1)); };
    return stepOf(value) == stepOf(facts.hostValue(plain));
  }
  double shown(int id) override { return instance.normalised(instance.id(id)); }
  int latency() override { return instance.host.latency(); }
  Session save() override {
    Session session;
    for (const auto& [name, id] : kChunks) {
      const StoredChunk chunk = instance.chunk(id);
      EXPECT_TRUE(chunk.result == AAX_SUCCESS && !chunk.overrun) << name;
      session.parts[name] = chunk.data;
    }
    return session;
  }
  bool restore(const Session& session) override {
    bool isTaken = true;
    for (const auto& [name, id] : kChunks) {
      const auto part = session.parts.find(name);
      if (part == session.parts.end()) continue;
      isTaken = instance.restore(id, part->second) == AAX_SUCCESS && isTaken;
    }
    return isTaken;
  }
  void expectMeters(const Reference& reference) override {
    std::vector<double> expected(instance.meters.size(), static_cast<double>(kUntouched));
    if (isBypassed) {
      std::fill_n(expected.begin(), 4 + setup.channels, 0.0);
    } else {
      for (std::size_t i = 0; i < 4; ++i) expected[i] = reference.getOutputPeak(i % 2 == 1 ? 1 : 0);
      for (std::size_t c = 0; setup.channels == 2 && c < 2; ++c) {
        expected[4 + c] = 1.0 - reference.reductions[c];
      }
    }
    for (std::size_t i = 0; i < expected.size(); ++i) {
      EXPECT_NEAR(static_cast<double>(instance.meters[i]), expected[i], 1e-6) << "meter " << i;
    }
  }

 private:
  static constexpr float kUntouched = 0.125F;
  static constexpr std::pair<const char*, AAX_CTypeID> kChunks[] = {
      {"controls", kAAX_ControlsChunkID}, {kStatePart, AAX_TypeID("CvnP")}};

  void process(Signal& in, Signal& out) override {
    HostedInstance::forBlocks(static_cast<int>(in[0].size()), [&](int at, int count) {
      instance.prepareBlock(in, out, at, count);
      void* const one = instance.context();
      inRealTime([&] { instance.proc(&one, &one + 1); });
    });
  }
  void tellOffline(bool on) override {
    instance.notify(on ? AAX_eNotificationEvent_EnteringOfflineMode
                       : AAX_eNotificationEvent_ExitingOfflineMode);
  }
  void queue(std::uint8_t controller, std::uint8_t position) override {
    instance.packets = {{0, 3, {0xb0, controller, position}, 0}};
  }

  bool isBypassed = false;
  HostedInstance instance;
};

class HostedLv2 final : public Hosted {
 public:
  static std::optional<Lv2Library>& library() { return loaded<Lv2Library>(CORVANTHELIS_LV2); }

  explicit HostedLv2(const HostSetup& itsSetup)
      : Hosted(itsSetup), rig(layoutOf(setup), setup.rate, Lv2Rig::kWorker, {}, library()->find) {}

  static const lv2::PortLayout& layoutOf(const HostSetup& wanted) {
    return *std::ranges::find_if(lv2::kPlugins, [&wanted](const lv2::PortLayout& plugin) {
      return plugin.mainChannels == wanted.channels &&
             (plugin.sideChannels > 0) == wanted.hasSidechain;
    });
  }

  void set(const Settings& settings) override {
    for (const auto& [id, plain] : settings) rig.parameter(id) = static_cast<float>(plain);
    rig.runAndWork(1, 0);
  }
  void setBypass(bool on) override {
    rig.control(rig.layout.enabled()) = on ? 0.0F : 1.0F;
    rest(kLead);
  }
  std::multimap<int, double> takeTold() override {
    rig.run(0);
    std::multimap<int, double> told(rig.requests.begin(), rig.requests.end());
    rig.requests.clear();
    rig.run(0);  // which sees the ports that have followed
    return told;
  }
  bool means(int /*id*/, double value, double plain) const override {
    return std::abs(value - plain) <= 1e-5 * std::max(1.0, std::abs(plain));
  }
  double shown(int id) override { return static_cast<double>(rig.parameter(id)); }
  int latency() override {
    rig.run(0);
    return rig.latency();
  }
  Session save() override {
    Session session;
    const StoredState stored = rig.save();
    for (const auto& [name, key, type] : kParts) {
      const auto& bytes = stored.values.at(UridMap::map(key)).bytes;
      session.parts[name].assign(bytes.begin(), bytes.end());
    }
    for (int id = 0; id < kNumParams; ++id) session.shown.push_back(shown(id));
    return session;
  }
  bool restore(const Session& session) override {
    StoredState stored;
    for (const auto& [name, key, type] : kParts) {
      const auto part = session.parts.find(name);
      if (part == session.parts.end()) continue;
      stored.values[UridMap::map(key)] = {{part->second.begin(), part->second.end()},
                                          UridMap::map(type)};
    }
    if (rig.restore(stored) != LV2_STATE_SUCCESS) return false;
    for (std::size_t id = 0; id < session.shown.size(); ++id) {
      rig.parameter(static_cast<int>(id)) = static_cast<float>(session.shown[id]);
    }
    rest(static_cast<int>(setup.rate * 0.17));  // it waits a tenth of a second for them
    return true;
  }

 private:
  static constexpr std::tuple<const char*, const char*, const char*> kParts[] = {
      {kStatePart, lv2::kChunkUri, LV2_ATOM__Chunk},
      {"ports", lv2::kPortValuesUri, LV2_ATOM__Vector}};

  void process(Signal& in, Signal& out) override {
    constexpr std::array<std::size_t, 8> kLengths = {512, 1, 63, 1024, 0, 1025, 7777, 64};
    const Signal given = in;
    std::size_t turn = 0;
    for (std::size_t at = 0, count = 0; at < in[0].size(); at += count) {
      count = std::min(kLengths[turn++ % kLengths.size()], in[0].size() - at);
      for (int c = 0; c < setup.channels; ++c) {
        const auto channel = static_cast<std::size_t>(c);
        rig.connect(rig.layout.input(c), in[channel].data() + at);
        rig.connect(rig.layout.output(c), out[channel].data() + at);
      }
      for (int c = 0; c < rig.layout.sideChannels; ++c) {
        const int channel = setup.channels + c;
        const bool isFed = channel < static_cast<int>(in.size());
        rig.connect(rig.layout.sidechain(c),
                    isFed ? in[std::size_t(channel)].data() + at : nullptr);
      }
      rig.runAndWork(1, static_cast<std::uint32_t>(count));
    }
    EXPECT_EQ(setup.inPlace ? "" : firstDifference(in, given), "") << "the host's own";
  }
  void tellOffline(bool on) override { rig.control(rig.layout.freewheel()) = on ? 1.0F : 0.0F; }
  void queue(std::uint8_t controller, std::uint8_t position) override {
    rig.midi.push_back({0xB0, controller, position});
  }

  Lv2Rig rig;
};

template <typename Kind>
std::unique_ptr<Hosted> make(const HostSetup& setup) {
  return std::make_unique<Kind>(setup);
}

}  // namespace

const HostKind kAaxKind = {
    "AAX", CORVANTHELIS_AAX, true, 1, 1, &make<HostedAax>, [] { HostedAax::session().reset(); }};
const HostKind kLv2Kind = {
    "LV2", CORVANTHELIS_LV2, false, 2, 0, &make<HostedLv2>, [] { HostedLv2::library().reset(); }};
