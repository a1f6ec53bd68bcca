#include <chrono>
#include <cmath>
#include <functional>
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
class Lv2Sessions : public testing::Test {
 protected:
  Lv2Sessions() {
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
  void TearDown() override {
    for (const auto& [id, number] : kControllers) Machine::ofProcess().midiMap().unlearn(id);
  }

  std::string play(const DataRow& row) {
    if (rig) {
      rig->requests.clear();
      rig->jobs = rig->errors = notes = 0;
      rig->requestStatus = lv2::kPortChangeSuccess;
    }
    std::istringstream words(row[0]);
    for (std::string word; words >> word;) {
      const std::string name = word.substr(0, word.find('='));
      text = word.substr(std::min(name.size() + 1, word.size()));
      count = std::atoi(text.c_str());
      const auto action = actions.find(name);
      if (action != actions.end()) {
        action->second();
      } else {
        rig->control(portOf(name)) = std::strtof(text.c_str(), nullptr);
      }
    }
    jobs = rig->jobs;
    // What threads bring may take its time, but where they are held up.
    std::string shown;
    const bool isOnce = stall || row[2] == "at once";
    const auto isShown = [&] { return (shown = show(row[1])) == row.back() || isOnce; };
    static_cast<void>(becomes([&] { return isShown() || (run(1), false); }));
    return shown;
  }

 private:
  void make() {
    rig = std::make_unique<Lv2Rig>(kStereo, rate,
                                   text == "alone" ? Lv2Rig::kNoWorker : Lv2Rig::kWorker);
    rig->movesPorts = false;
    rig->workerAccepts = text != "refuses";
    rig->works = text != "loses";
    for (auto& channel : rig->in) std::fill(channel.begin(), channel.end(), kLevel);
  }
  void pause() {
    for (int turn = 0; turn < count; ++turn) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
      run(1);
    }
  }
  /// A step in every block of the trim, and of a frequency, for which it must wait.
  void step() {
    for (int block = 0; block < count; ++block) {
      rig->parameter("kOpTrim") = -6.0F * static_cast<float>(block % 2);
      rig->parameter("kB1SCLFF") = 100.0F * static_cast<float>(1 + block % 2);
      run(1);
    }
  }
  /// All ports to the next number, but for what is 0: a switch is on from there.
  void nudge() {
    for (int port = kStereo.firstParameter(); port < kStereo.chainGain(); ++port) {
      float& value = rig->control(port);
      if (value != 0.0F) value = std::nextafter(value, 100.0F);
    }
  }
  void turn(int controller) {
    const auto number = static_cast<std::uint8_t>(controller);
    rig->midi.push_back({0xB0, number, static_cast<std::uint8_t>(count)});
    rig->midi.push_back({0x90, number, 64});  // no controller
    rig->midi.push_back({0xB0, 99, 64});      // moves nothing
  }
  void save() {
    EXPECT_EQ(rig->saveTo(states[text] = {}), LV2_STATE_SUCCESS);
    spoil(states[text]);
  }
  void saveWithoutRoom() {
    StoredState full;
    full.refused = UridMap::map(text == "state" ? lv2::kChunkUri : lv2::kPortValuesUri);
    status = rig->saveTo(full);
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
    (states["damaged"] = saved).values[UridMap::map(lv2::kChunkUri)].bytes.resize(100);
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
    std::string seen;
    for (std::string name; all >> name;) seen += (seen.empty() ? "" : " ") + showOne(name);
    return seen;
  }
  /// What is told in whole numbers; empty for other names.
  std::string showCount(const std::string& name) {
    if (name == "jobs") return std::to_string(jobs);
    if (name == "notes") return std::to_string(notes);
    if (name == "status") return std::to_string(status);
    if (name == "logged") return std::to_string(rig->errors);
    return name == "latency" ? std::to_string(rig->latency()) : "";
  }
  std::string showOne(const std::string& name) {
    if (const std::string whole = showCount(name); !whole.empty()) return whole;
    if (name.starts_with("reduction")) {
      const int port =
          name == "reduction" ? kStereo.chainGain() : kStereo.bandGain(name.back() - '1');
      return number(static_cast<double>(rig->control(port)));
    }
    if (name == "level") {
      const auto gain = static_cast<double>(rig->out[0][frames - 1] / kLevel);
      return gain > 0.0 ? number(20.0 * std::log10(gain)) : "none";
    }
    if (name == "asked") {
      std::string asked;
      for (const auto& [id, value] : rig->requests) {
        // The port of the host's own switch lies before those of the parameters.
        asked += asked.empty() ? "" : " ";
        asked += (id < 0 ? "enabled" : parameterKeyTable().name(id)) + std::string("=");
        asked += number(static_cast<double>(value));
      }
      return asked.empty() ? "-" : asked;
    }
    if (name.starts_with("is=")) return rig->chunk() == chunkOf(name.substr(3)) ? "yes" : "no";
    const std::vector<char> chunk = rig->chunk();
    reader.plug.setChunk(chunk.data(), static_cast<std::int32_t>(chunk.size()), false);
    const std::size_t bank = name.find('@');
    if (bank != std::string::npos) {
      reader.plug.parameterInput().applyBank(name[bank + 1] - '0', false);
    }
    return number(reader.plug.getPlainValue(reader.id(name.substr(0, bank).c_str())));
  }
  std::vector<char> chunkOf(const std::string& name) {
    if (name == "new") return Lv2Rig(kStereo).chunk();
    return states[name].values.at(UridMap::map(lv2::kChunkUri)).bytes;
  }
  static std::string number(double value) {
    std::ostringstream rounded;
    rounded << std::round(value * 100.0) / 100.0 + 0.0;
    return rounded.str();
  }

  const std::map<std::string, std::function<void()>> actions = {
      {"new", [this] { make(); }},
      {"activate", [this] { rig->descriptor->activate(rig->instance); }},
      {"rate", [this] { rate = count; }},
      {"frames", [this] { frames = static_cast<std::uint32_t>(count); }},
      {"run", [this] { run(std::max(count, 1)); }},
      {"block", [this] { block(); }},
      {"work", [this] { rig->work(); }},
      {"pause", [this] { pause(); }},
      {"step", [this] { step(); }},
      {"nudge", [this] { nudge(); }},
      {"refuse", [this] { rig->requestStatus = lv2::kPortChangeUnknownError; }},
      {"stall", [this] { stall.emplace(); }},
      {"go", [this] { stall.reset(); }},
      {"room", [this] { rig->notifyBytes = static_cast<std::size_t>(count); }},
      {"turn:kOpTrim", [this] { turn(21); }},
      {"turn:kBypass", [this] { turn(22); }},
      {"save", [this] { save(); }},
      {"full", [this] { saveWithoutRoom(); }},
      {"restore", [this] { status = rig->restore(states[text]); }},
      {"open", [this] { rig->connect(portOf(text), nullptr); }},
  };
  std::string text;  // behind the "=" of the action
  int count = 0;     // the same
  double rate = 48000.0;
  std::map<std::string, StoredState> states;
  PlugRig reader;
  std::unique_ptr<Lv2Rig> rig;
  std::optional<Stall> stall;
  std::uint32_t frames = 1024;
  int jobs = 0;
  int notes = 0;
  int status = 0;
};

TEST_F(Lv2Sessions, GoAsTold) {
  runRows(TEST_DATA "/sessions.txt", [this](const DataRow& row) { return play(row); });
}

TEST(Lv2Plugin, SurvivesHostsThatBreakTheRules) {
  const LV2_Descriptor* const descriptor = lv2_descriptor(0);
  EXPECT_EQ(lv2_descriptor(lv2::kPlugins.size()), nullptr);
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
