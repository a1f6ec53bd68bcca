#include <chrono>
#include <cmath>
#include <limits>
#include <optional>
#include <sstream>
#include <thread>

#include "host/idle_timer.h"
#include "tests/core/plug_rig.h"
#include "tests/lv2_wrap/lv2_rig.h"
#include "tests/support/becomes.h"
#include "tests/support/data_rows.h"

namespace {

const lv2::PortLayout& kSidechain = lv2::kPlugins[0];
const lv2::PortLayout& kStereo = lv2::kPlugins[1];
constexpr float kLevel = 0.5F;
constexpr std::array<std::pair<int, int>, 2> kControllers = {{{kOpTrim, 21}, {kBypass, 22}}};

/// Holds up the message thread while it lives.
class Stall final : public IdleClient {
 public:
  Stall() {
    IdleTimer::instance().add(*this);
    EXPECT_TRUE(becomes([this] { return isStalled.load(); }));
  }
  ~Stall() override {
    isOver = true;
    IdleTimer::instance().remove(*this);
  }
  Stall(const Stall&) = delete;
  Stall& operator=(const Stall&) = delete;
  void onIdle() override {
    isStalled = true;
    static_cast<void>(becomes([this] { return isOver.load(); }));
  }

 private:
  std::atomic<bool> isStalled{false};
  std::atomic<bool> isOver{false};
};

/// An instance and its host, led by the words of data/sessions.txt, which explains them.
class Scripted {
 public:
  Scripted() {
    PlugRig linked;
    for (int band = 0; band < 3; ++band) {
      linked.plug.setLinked(bandParameterId(band, kB1Threshold), true);
    }
    linked.plug.setLocked(bandParameterId(3, kB1Threshold), true);
    states.emplace("linked", linked.plug);
    states["ports"].values[UridMap::map(lv2::kPortsOnlyUri)] = {{1, 0, 0, 0},
                                                                UridMap::map(LV2_ATOM__Bool)};
    for (const auto& [id, number] : kControllers) Machine::ofProcess().midiMap().learn(id, number);
  }
  ~Scripted() {
    for (const auto& [id, number] : kControllers) Machine::ofProcess().midiMap().unlearn(id);
  }
  Scripted(const Scripted&) = delete;
  Scripted& operator=(const Scripted&) = delete;

  std::string play(const DataRow& row) {
    if (rig) {
      rig->requests.clear();
      rig->jobs = notes = 0;
      rig->requestStatus = lv2::kPortChangeSuccess;
    }
    std::istringstream actions(row[0]);
    for (std::string action; actions >> action;) {
      const std::size_t value = action.find('=');
      act(action.substr(0, value), value == std::string::npos ? "" : action.substr(value + 1));
    }
    jobs = rig->jobs;
    // What threads bring may take its time, but where they are held up.
    std::string shown;
    const auto isShown = [&] { return (shown = show(row[1])) == row.back() || stall; };
    static_cast<void>(becomes([&] { return isShown() || (run(1), false); }));
    return shown;
  }

 private:
  void act(const std::string& what, const std::string& value) {
    const int count = std::atoi(value.c_str());
    if (what == "new") {
      rig = std::make_unique<Lv2Rig>(kStereo, 48000.0,
                                     value == "alone" ? Lv2Rig::kNoWorker : Lv2Rig::kWorker);
      rig->movesPorts = false;
      rig->workerAccepts = value != "refuses";
      rig->works = value != "loses";
      for (auto& channel : rig->in) std::fill(channel.begin(), channel.end(), kLevel);
    } else if (what == "activate") {
      rig->descriptor->activate(rig->instance);
    } else if (what == "frames") {
      frames = static_cast<std::uint32_t>(count);
    } else if (what == "run") {
      run(std::max(count, 1));
    } else if (what == "block") {
      block();
    } else if (what == "work") {
      rig->work();
    } else if (what == "pause") {
      for (int turn = 0; turn < count; ++turn) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        run(1);
      }
    } else {
      change(what, value);
    }
  }
  void change(const std::string& what, const std::string& value) {
    const int count = std::atoi(value.c_str());
    if (what == "refuse") {
      rig->requestStatus = lv2::kPortChangeUnknownError;
    } else if (what == "stall") {
      stall.emplace();
    } else if (what == "go") {
      stall.reset();
    } else if (what == "room") {
      rig->notifyBytes = static_cast<std::size_t>(count);
    } else if (what.starts_with("turn:")) {
      const auto number = kControllers[what == "turn:kBypass" ? 1 : 0].second;
      rig->midi.push_back({0xB0, static_cast<std::uint8_t>(number), std::uint8_t(count)});
      rig->midi.push_back({0x90, static_cast<std::uint8_t>(number), 64});  // no controller
      rig->midi.push_back({0xB0, 99, 64});                                 // moves nothing
    } else if (what == "save") {
      EXPECT_EQ(rig->saveTo(states[value] = {}), LV2_STATE_SUCCESS);
      spoil(states[value]);
    } else if (what == "full") {
      StoredState full;
      full.refused = UridMap::map(value == "state" ? lv2::kChunkUri : lv2::kPortValuesUri);
      status = rig->saveTo(full);
    } else if (what == "restore") {
      status = rig->restore(states[value]);
    } else if (what == "open") {
      rig->connect(portOf(value), nullptr);
    } else {
      rig->control(portOf(what)) = std::strtof(value.c_str(), nullptr);
    }
  }
  /// Copies of what was saved, without or with other contents.
  void spoil(const StoredState& saved) {
    for (const auto& [key, value] : saved.values) {
      EXPECT_EQ(value.flags, std::uint32_t{LV2_STATE_IS_POD | LV2_STATE_IS_PORTABLE});
    }
    const LV2_URID ports = UridMap::map(lv2::kPortValuesUri);
    for (const char* const name : {"noPorts", "shortPorts", "otherPorts", "otherType"}) {
      states[name] = saved;
    }
    states["noPorts"].values.erase(ports);
    states["shortPorts"].values[ports].bytes.resize(100);
    states["otherPorts"].values[ports].bytes[4] ^= 1;  // of whole numbers
    states["otherType"].values[UridMap::map(lv2::kChunkUri)].type = UridMap::map(LV2_ATOM__Int);
  }
  [[nodiscard]] static int portOf(const std::string& name) {
    if (name == "enabled") return kStereo.enabled();
    if (name == "freewheel") return kStereo.freewheel();
    if (name == "latency") return kStereo.latency();
    if (name == "rightOut") return kStereo.output(1);
    if (name == "leftIn") return kStereo.input(0);
    return kStereo.firstParameter() + lv2::placeOfParameter(parameterKeyTable().find(name));
  }
  void block() {
    rig->run(frames);
    if (rig->notifyBytes > 1000) notes += rig->stateChanges();
    EXPECT_TRUE(rig->isNotifyGuarded());
  }
  void run(int blocks) {
    for (int i = 0; i < blocks; ++i) {
      block();
      rig->work();
    }
  }

  std::string show(const std::string& names) {
    std::istringstream all(names);
    std::ostringstream text;
    for (std::string name; all >> name;) text << (text.str().empty() ? "" : " ") << showOne(name);
    return text.str();
  }
  std::string showOne(const std::string& name) {
    if (name == "jobs") return std::to_string(jobs);
    if (name == "notes") return std::to_string(notes);
    if (name == "status") return std::to_string(status);
    if (name == "latency") return std::to_string(rig->latency());
    if (name == "level") {
      const auto gain = static_cast<double>(rig->out[0][frames - 1] / kLevel);
      return gain > 0.0 ? number(20.0 * std::log10(gain)) : "none";
    }
    if (name == "asked") {
      std::string text;
      for (const auto& [id, value] : rig->requests) {
        // The port of the host's own switch lies before those of the parameters.
        text += text.empty() ? "" : " ";
        text += (id < 0 ? "enabled" : parameterKeyTable().name(id)) + std::string("=");
        text += number(static_cast<double>(value));
      }
      return text.empty() ? "-" : text;
    }
    if (name.starts_with("is=")) return rig->chunk() == chunkOf(name.substr(3)) ? "yes" : "no";
    const std::vector<char> chunk = rig->chunk();
    reader.plug.setChunk(chunk.data(), static_cast<std::int32_t>(chunk.size()), false);
    const std::size_t bank = name.find('@');
    if (bank != std::string::npos) reader.plug.loadBank(name[bank + 1] - '0');
    return number(reader.get(name.substr(0, bank).c_str()));
  }
  std::vector<char> chunkOf(const std::string& name) {
    if (name == "new") return Lv2Rig(kStereo).chunk();
    return states[name].values.at(UridMap::map(lv2::kChunkUri)).bytes;
  }
  static std::string number(double value) {
    std::ostringstream text;
    text << std::round(value * 100.0) / 100.0 + 0.0;
    return text.str();
  }

  std::map<std::string, StoredState> states;
  PlugRig reader;
  std::unique_ptr<Lv2Rig> rig;
  std::optional<Stall> stall;
  std::uint32_t frames = 1024;
  int jobs = 0;
  int notes = 0;
  int status = 0;
};

TEST(Lv2Plugin, SessionsGoAsTold) {
  Scripted scripted;
  for (const DataRow& row : dataRows(TEST_DATA "/sessions.txt")) {
    ASSERT_EQ(scripted.play(row), row.back()) << row[0] << " | " << row[1];
  }
}

TEST(Lv2Plugin, ControlsReachTheSoundSoonAndNotTooOften) {
  constexpr std::uint32_t kFrames = 64;
  Lv2Rig rig(kStereo);
  const auto gainAfter = [&rig](int blocks) {
    for (auto& channel : rig.in) std::fill(channel.begin(), channel.end(), kLevel);
    rig.runAndWork(blocks, kFrames);
    return 20.0 * std::log10(static_cast<double>(rig.out[0][kFrames - 1] / kLevel));
  };
  gainAfter(200);
  EXPECT_EQ(rig.jobs, 0) << "the controls were in force from the start";
  // A step of the trim in every block: the worker hears at most every 14 ms, and never the less
  // often.
  for (int block = 0; block < 150; ++block) {
    rig.parameter("kOpTrim") = -6.0F * static_cast<float>(block % 2);
    rig.runAndWork(1, kFrames);
  }
  EXPECT_NEAR(rig.jobs, 150.0 / 10.0, 2.0);
  // A change is in the sound, whose gains take 21 ms from one to the next, after less than 20 ms.
  gainAfter(50);
  rig.parameter("kOpTrim") = -12.0F;
  EXPECT_LT(gainAfter(15), -6.2);
  EXPECT_NEAR(gainAfter(20), -12.0, 0.01);
  // All at once make one job.
  rig.jobs = 0;
  for (int port = kStereo.firstParameter(); port < kStereo.count(); ++port) {
    // But for what is 0: a switch is on from the next number.
    if (rig.control(port) != 0.0F) rig.control(port) = std::nextafter(rig.control(port), 100.0F);
  }
  gainAfter(1);
  EXPECT_EQ(rig.jobs, 1);
  // While the host renders offline there is no wait at all.
  rig.control(kStereo.freewheel()) = 1.0F;
  const double before = gainAfter(1);
  rig.jobs = 0;
  rig.parameter("kOpTrim") = 0.0F;
  EXPECT_GT(gainAfter(1), before + 1.0);
  EXPECT_EQ(rig.jobs, 0);
}

TEST(Lv2Plugin, SurvivesHostsThatBreakTheRules) {
  const LV2_Descriptor* const descriptor = lv2_descriptor(0);
  EXPECT_EQ(lv2_descriptor(3), nullptr);
  constexpr double kInfinite = std::numeric_limits<double>::infinity();
  for (const double rate : {0.0, -48000.0, 1.1e7, kInfinite, -kInfinite, std::nan("")}) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(descriptor->instantiate(descriptor, rate, "", nullptr), nullptr) << rate;
    EXPECT_NE(testing::internal::GetCapturedStderr().find("is no sample rate"), std::string::npos);
  }
  // No feature at all, nothing connected, no activation.
  LV2_Handle instance = descriptor->instantiate(descriptor, 44100.0, "", nullptr);
  ASSERT_NE(instance, nullptr);
  descriptor->connect_port(instance, 100000, nullptr);
  descriptor->run(instance, 0);
  descriptor->run(instance, 5000);
  descriptor->activate(instance);
  descriptor->activate(instance);
  StoredState state;
  const auto* const states =
      static_cast<const LV2_State_Interface*>(descriptor->extension_data(LV2_STATE__interface));
  EXPECT_EQ(states->save(instance, &StoredState::store, &state, 0, nullptr),
            LV2_STATE_ERR_NO_FEATURE);
  EXPECT_EQ(states->restore(instance, &StoredState::retrieve, &state, 0, nullptr),
            LV2_STATE_ERR_NO_FEATURE);
  EXPECT_EQ(descriptor->extension_data("urn:nothing"), nullptr);
  descriptor->cleanup(instance);

  Lv2Rig rig(kSidechain);
  for (const float rubbish : {std::numeric_limits<float>::quiet_NaN(),
                              std::numeric_limits<float>::infinity(), -1e30F, 1e30F}) {
    for (int port = kSidechain.enabled(); port < kSidechain.count(); ++port) {
      if (port != kSidechain.freewheel()) rig.control(port) = rubbish;
    }
    for (auto& channel : rig.in) std::fill(channel.begin(), channel.end(), rubbish);
    for (int block = 0; block < 10; ++block) {
      rig.runAndWork(1, 1000);
      for (std::size_t i = 0; i < 1000; ++i) ASSERT_TRUE(std::isfinite(rig.out[0][i]));
    }
  }
}

}  // namespace
