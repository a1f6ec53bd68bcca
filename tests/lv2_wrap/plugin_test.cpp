#include <chrono>
#include <cmath>
#include <limits>
#include <random>
#include <thread>

#include "tests/core/plug_rig.h"
#include "tests/lv2_wrap/lv2_rig.h"
#include "tests/support/becomes.h"

namespace {

const lv2::PortLayout& kSidechain = lv2::kPlugins[0];
const lv2::PortLayout& kStereo = lv2::kPlugins[1];

double decibels(float level) { return 20.0 * std::log10(static_cast<double>(level)); }

const double kLevel = decibels(0.5F);

/// Runs a constant in all channels for some blocks and gives the level of the last one's end, dB.
double levelAfter(Lv2Rig& rig, int blocks, std::uint32_t frames) {
  for (auto& channel : rig.in) std::fill(channel.begin(), channel.end(), 0.5F);
  rig.runAndWork(blocks, frames);
  return decibels(rig.out[0][frames - 1]);
}

/// A controller that moves a parameter while this lives.
struct Learnt {
  Learnt(int parameter, int number) : id(parameter) {
    Machine::ofProcess().midiMap().learn(id, number);
  }
  ~Learnt() { Machine::ofProcess().midiMap().unlearn(id); }
  Learnt(const Learnt&) = delete;
  Learnt& operator=(const Learnt&) = delete;
  const int id;
};

double plainIn(Lv2Rig& rig, int id) {
  PlugRig reader;
  const std::vector<char> chunk = rig.chunk();
  reader.plug.setChunk(chunk.data(), static_cast<std::int32_t>(chunk.size()), false);
  return static_cast<double>(reader.plug.getPlainValue(id));
}

TEST(Lv2Plugin, ControlsReachTheSoundSoonAndNotTooOften) {
  constexpr std::uint32_t kFrames = 64;
  Lv2Rig rig(kStereo);
  levelAfter(rig, 200, kFrames);
  EXPECT_EQ(rig.jobs, 0) << "the controls were in force from the start";
  // A step of the trim in every block: the worker hears at most every 14 ms, and never the less
  // often.
  for (int block = 0; block < 150; ++block) {
    rig.parameter("kOpTrim") = -6.0F * static_cast<float>(block % 2);
    rig.runAndWork(1, kFrames);
  }
  EXPECT_NEAR(rig.jobs, 150.0 / 10.0, 2.0);
  // A change is in the sound, whose gains take 21 ms from one to the next, after less than 20 ms.
  levelAfter(rig, 50, kFrames);
  rig.parameter("kOpTrim") = -12.0F;
  EXPECT_LT(levelAfter(rig, 15, kFrames), kLevel - 6.2);
  EXPECT_NEAR(levelAfter(rig, 20, kFrames), kLevel - 12.0, 0.01);
  // All at once make one job.
  rig.jobs = 0;
  for (int port = kStereo.firstParameter(); port < kStereo.count(); ++port) {
    // But for what is 0: a switch is on from the next number.
    if (rig.control(port) != 0.0F) rig.control(port) = std::nextafter(rig.control(port), 100.0F);
  }
  levelAfter(rig, 1, kFrames);
  EXPECT_EQ(rig.jobs, 1);
  // While the host renders offline there is no wait at all.
  rig.control(kStereo.freewheel()) = 1.0F;
  const double before = levelAfter(rig, 1, kFrames);
  rig.jobs = 0;
  rig.parameter("kOpTrim") = 0.0F;
  EXPECT_GT(levelAfter(rig, 1, kFrames), before + 1.0);
  EXPECT_EQ(rig.jobs, 0);
}

TEST(Lv2Plugin, WithoutAWorkerTheMessageThreadDelivers) {
  enum Way { kNone, kRefuses, kLoses };
  for (const Way way : {kNone, kRefuses, kLoses}) {
    SCOPED_TRACE(way);
    Lv2Rig rig(kStereo, 48000.0, way == kNone ? Lv2Rig::kNoWorker : Lv2Rig::kWorker);
    rig.workerAccepts = way == kLoses;
    rig.works = false;
    levelAfter(rig, 200, 64);
    rig.parameter("kOpTrim") = -12.0F;
    EXPECT_TRUE(becomes([&] { return levelAfter(rig, 1, 96) < kLevel - 11.9; }));
    EXPECT_NEAR(levelAfter(rig, 20, 96), kLevel - 12.0, 0.01);
  }
}

TEST(Lv2Plugin, AStartOfflineTakesTheOfflineQuality) {
  Lv2Rig rig(kStereo, 48000.0, Lv2Rig::kWorker, {{"kOversampleOL", 2.0F}});
  for (const bool isOffline : {false, true}) {
    rig.control(kStereo.freewheel()) = isOffline ? 1.0F : 0.0F;
    rig.descriptor->activate(rig.instance);
    rig.control(kStereo.latency()) = 0.0F;
    rig.descriptor->run(rig.instance, 0);
    PlugRig reference(PlugRig::Settings{{"kOversample", isOffline ? 2.0 : 0.0}});
    EXPECT_EQ(rig.latency(), reference.plug.getInitialDelay());
  }
}

TEST(Lv2Plugin, BypassIsOnByEitherPortAndAskedOfBothFromInside) {
  const Learnt learnt(kBypass, 22);
  constexpr int kEnabled = -2;  // its place before the parameters
  Lv2Rig rig(kStereo, 48000.0, Lv2Rig::kWorker, {{"kIpTrim", -20.0F}});
  rig.movesPorts = false;
  const auto expectHeard = [&rig](bool isBypassed) {
    EXPECT_NEAR(levelAfter(rig, 100, 256), isBypassed ? kLevel : kLevel - 20.0, 0.01);
  };
  using Requests = std::vector<std::pair<int, float>>;
  const struct {
    float enabled, bypass;
    bool isOn;
    Requests asked;  ///< by a controller that turns it over
  } rows[] = {{1.0F, 0.0F, false, {{kEnabled, 0.0F}}},
              {0.0F, 0.0F, true, {{kEnabled, 1.0F}}},
              {1.0F, 1.0F, true, {{kEnabled, 1.0F}, {kBypass, 0.0F}}},
              {0.0F, 1.0F, true, {{kEnabled, 1.0F}, {kBypass, 0.0F}}}};
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << "enabled " << row.enabled << ", bypass " << row.bypass);
    rig.control(kStereo.enabled()) = row.enabled;
    rig.parameter(kBypass) = row.bypass;
    expectHeard(row.isOn);
    rig.requests.clear();
    rig.midi.push_back({0xB0, 22, static_cast<std::uint8_t>(row.isOn ? 0 : 127)});
    EXPECT_TRUE(becomes([&] {
      rig.run(64);
      return rig.requests.size() >= row.asked.size();
    }));
    expectHeard(!row.isOn);
    EXPECT_EQ(rig.requests, row.asked);
    rig.control(kStereo.enabled()) = row.isOn ? 1.0F : 0.0F;  // as asked
    rig.parameter(kBypass) = 0.0F;
    expectHeard(!row.isOn);
    EXPECT_EQ(rig.requests, row.asked);
  }
}

constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

/// A port, its parameter and what the host was asked for and has not answered.
struct Crossing {
  static bool isSame(double x, double y) { return std::abs(x - y) < 1e-4; }

  /// A controller moves the parameter to `inside`, then the host the port to `outside`, `kNone` for
  /// neither; what the host is asked for then.
  double meet(double inside, double outside) {
    bool isNews = !std::isnan(inside) && !isSame(inside, effect);
    if (isNews) effect = inside;
    isAnswer = isSame(pending, outside);
    if (!std::isnan(outside) && !isSame(outside, port)) {
      isNews = isNews && isAnswer;
      if (!isAnswer) effect = outside;
      port = outside;
      pending = kNone;
    }
    if (!isNews || isSame(effect, std::isnan(pending) ? port : pending)) return kNone;
    return effect;
  }

  double port = 0.0;
  double effect = 0.0;
  double pending = kNone;
  bool isAnswer = false;
};

/// Moves by the host and by a controller in any order, in one block as well; requests are answered
/// late, never or twice, and refused. Few values, so that moves meet old requests.
TEST(Lv2Plugin, RequestsAndMovesCrossInAnyOrder) {
  const Learnt learnt(kOpTrim, 21);
  Lv2Rig rig(kStereo);
  rig.movesPorts = false;
  rig.runAndWork(2, 1024);
  std::mt19937 random(3);
  const auto below = [&random](std::size_t end) { return std::size_t{random()} % end; };
  Crossing model;
  std::vector<float> met = {-24.0F, 24.0F};
  for (int step = 0; step < 80 && !testing::Test::HasFailure(); ++step) {
    rig.requests.clear();
    rig.requestStatus = below(3) == 0 ? lv2::kPortChangeUnknownError : lv2::kPortChangeSuccess;
    double inside = kNone;
    double outside = kNone;
    const std::size_t kind = below(8);  // 0 to 4 a controller, 4 to 7 the host
    if (kind <= 4) {
      const auto position = static_cast<std::uint8_t>(std::array{0, 64, 127}[below(3)]);
      rig.midi.push_back({0xB0, 21, position});
      inside = -24.0 + 48.0 * position / 127.0;
    }
    if (kind >= 4) {
      rig.parameter(kOpTrim) = met[below(met.size())];
      outside = static_cast<double>(rig.parameter(kOpTrim));
    }
    SCOPED_TRACE(testing::Message() << step << ": " << inside << " inside, " << outside << " host");
    const int jobs = rig.jobs;
    const bool isMove = !std::isnan(outside) && !Crossing::isSame(outside, model.port);
    const double asked = model.meet(inside, outside);
    const bool isAsked = !std::isnan(asked);
    rig.runAndWork(1, 1024);
    EXPECT_EQ(rig.jobs > jobs, isMove && !model.isAnswer) << "an answer is no news";
    if (!isAsked) std::this_thread::sleep_for(std::chrono::milliseconds(25));
    EXPECT_TRUE(becomes([&] {
      rig.runAndWork(1, 1024);
      return !isAsked || !rig.requests.empty();
    }));
    ASSERT_EQ(rig.requests.size(), isAsked ? 1U : 0U);
    if (isAsked) {
      met.push_back(rig.requests[0].second);
      EXPECT_NEAR(static_cast<double>(met.back()), asked, 1e-4);
      model.pending = rig.requestStatus == lv2::kPortChangeSuccess ? asked : kNone;
    }
    EXPECT_NEAR(plainIn(rig, kOpTrim), model.effect, 1e-4);
  }
}

TEST(Lv2Plugin, LinkedPortsThatMoveTogetherKeepTheirOwnValues) {
  const auto threshold = [](int band) { return bandParameterId(band, kB1Threshold); };
  PlugRig reference;
  for (int band = 0; band < 3; ++band) reference.plug.setLinked(threshold(band), true);
  reference.plug.setLocked(threshold(3), true);
  Lv2Rig rig(kStereo);
  ASSERT_EQ(rig.restore(StoredState(reference.plug)), LV2_STATE_SUCCESS);
  // Ports of a restored state are each for itself, and leave what is locked.
  rig.runAndWork(10, 1024);
  ASSERT_EQ(rig.restore(rig.save()), LV2_STATE_SUCCESS);
  rig.set({{"kB1Threshold", -5.0F}, {"kB4Threshold", -9.0F}});
  rig.runAndWork(10, 1024);
  const auto valuesAre = [&](std::initializer_list<double> expected) {
    rig.runAndWork(2, 1024);
    int band = 0;
    for (const double plain : expected) EXPECT_NEAR(plainIn(rig, threshold(band++)), plain, 1e-4);
  };
  valuesAre({-5.0, 0.0, 0.0, 0.0});
  rig.set({{"kB1Threshold", -10.0F}, {"kB2Threshold", -20.0F}});
  valuesAre({-10.0, -20.0, -20.0, 0.0});
  rig.set({{"kB2Threshold", -30.0F}});
  valuesAre({-30.0, -30.0, -30.0, 0.0});
}

/// Values that come with a switch of banks belong to the bank that comes.
TEST(Lv2Plugin, AMoveBesideASwitchOfBanksGoesToTheNewOne) {
  Lv2Rig rig(kStereo);
  rig.runAndWork(2, 1024);
  rig.set({{"kB1State", 0.25F}, {"kABBank", 2.0F}, {"kIpTrim", -7.0F}, {"kSCListen", 3.0F}});
  rig.runAndWork(2, 1024);
  EXPECT_NEAR(plainIn(rig, kIpTrim), -7.0, 1e-4);
  EXPECT_EQ(plainIn(rig, kSCListen), 3.0);
  EXPECT_EQ(plainIn(rig, kB1State), 1.0) << "switches are on above 0";
  rig.set({{"kABBank", 0.3F}});  // anywhere within the step
  rig.runAndWork(2, 1024);
  EXPECT_NEAR(plainIn(rig, kIpTrim), 0.0, 1e-4);
}

TEST(Lv2Plugin, EventsArriveInOrderAndChangesAreNotedOnce) {
  const Learnt learnt(kOpTrim, 21);
  Lv2Rig rig(kStereo, 48000.0, Lv2Rig::kNoWorker);
  rig.run(64);
  EXPECT_EQ(rig.stateChanges(), 0);
  rig.midi = {{0xB0, 21, 0}, {0x90, 21, 64}, {0xB3, 21, 127}, {0xB0, 99, 1}};
  rig.run(64);
  EXPECT_EQ(plainIn(rig, kOpTrim), 24.0);
  int noted = 0;
  EXPECT_TRUE(becomes([&] { return rig.run(64), noted += rig.stateChanges(), noted > 0; }));
  for (int turn = 0; turn < 10; ++turn) {
    std::this_thread::sleep_for(std::chrono::milliseconds(3));
    rig.run(64);
    noted += rig.stateChanges();
  }
  EXPECT_EQ(noted, 1);
  // Where there is no room, or nothing that the host names, nothing is written.
  for (const std::size_t room : {std::size_t{0}, sizeof(LV2_Atom), sizeof(LV2_Atom_Sequence)}) {
    rig.notifyBytes = room;
    rig.midi = {{0xB0, 21, static_cast<std::uint8_t>(room % 100)}};
    for (int turn = 0; turn < 4; ++turn) {
      rig.run(64);
      std::this_thread::sleep_for(std::chrono::milliseconds(12));
    }
    EXPECT_TRUE(rig.isNotifyGuarded()) << room;
  }
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

/// Controls that are let go hold their default; audio that is not connected is silence.
TEST(Lv2Plugin, OpenPortsAreAsIfTheyWereNotThere) {
  Lv2Rig rig(kStereo, 48000.0, Lv2Rig::kWorker, {{"kIpTrim", -20.0F}});
  EXPECT_NEAR(levelAfter(rig, 100, 256), kLevel - 20.0, 0.01);
  rig.control(kStereo.enabled()) = 0.0F;
  EXPECT_NEAR(levelAfter(rig, 100, 256), kLevel, 0.01);
  rig.connect(kStereo.enabled(), nullptr);
  EXPECT_NEAR(levelAfter(rig, 100, 256), kLevel - 20.0, 0.01);
  rig.connect(kStereo.firstParameter() + lv2::placeOfParameter(kIpTrim), nullptr);
  EXPECT_NEAR(levelAfter(rig, 100, 256), kLevel, 0.01);
  rig.connect(kStereo.output(1), nullptr);
  EXPECT_NEAR(levelAfter(rig, 100, 256), kLevel, 0.01) << "still stereo";
  rig.connect(kStereo.input(0), nullptr);
  levelAfter(rig, 100, 256);
  EXPECT_EQ(rig.out[0][255], 0.0F);
}

}  // namespace
