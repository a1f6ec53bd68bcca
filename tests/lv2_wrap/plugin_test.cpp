#include <chrono>
#include <cmath>
#include <cstring>
#include <limits>
#include <thread>

#include "tests/core/plug_rig.h"
#include "tests/lv2_wrap/lv2_rig.h"

namespace {

const lv2::PortLayout& kSidechain = lv2::kPlugins[0];
const lv2::PortLayout& kStereo = lv2::kPlugins[1];
const lv2::PortLayout& kMono = lv2::kPlugins[2];

/// Two crossover bands and a dynamic EQ band that all work, one of them on the sidechain.
constexpr Lv2Rig::Settings kWorking = {
    {"kIpTrim", 3.0F},        {"kB1Threshold", -30.0F}, {"kB1Ratio", 0.7F},
    {"kB1Frequency", 300.0F}, {"kB2State", 1.0F},       {"kB2Frequency", 3000.0F},
    {"kB2Threshold", -36.0F}, {"kB2RatioB", 0.4F},      {"kB3State", 1.0F},
    {"kB3Type", 1.0F},        {"kB3Frequency", 900.0F}, {"kB3Threshold", -24.0F},
    {"kB3Ratio", -0.6F},      {"kB3SCSrc", 2.0F},       {"kB3Lookahead", 4.0F}};

/// The plug-in and the bare effect, fed the same signals.
class SideBySide {
 public:
  static constexpr int kFrames = 40000;
  static constexpr std::size_t kBadSample = 100;

  SideBySide(const lv2::PortLayout& layout, double rate, bool overwritesInputs)
      : rig(layout, rate, Lv2Rig::kWorker, kWorking),
        bare({}, rate),
        channels(static_cast<std::size_t>(layout.mainChannels)),
        inPlace(overwritesInputs) {
    for (const auto& [identifier, plain] : kWorking) {
      bare.set(PlugRig::id(identifier), static_cast<double>(plain));
    }
    bare.plug.resume();
    input.channels[0][kBadSample] = std::numeric_limits<float>::quiet_NaN();
    for (std::size_t c = 0; inPlace && c < channels; ++c) {
      rig.descriptor->connect_port(rig.instance,
                                   static_cast<std::uint32_t>(layout.output(static_cast<int>(c))),
                                   rig.in[c].data());
    }
  }

  /// The next `frames` through both.
  void play(std::size_t frames) {
    SCOPED_TRACE(testing::Message() << frames << " frames from " << at);
    Stereo<float> heard(static_cast<int>(std::max<std::size_t>(frames, 1)));
    Stereo<float> expected = heard;
    std::array<std::vector<float>, 4> in;
    std::array<float*, 4> inputs{};
    const auto feed = [&](const std::vector<float>& from, std::vector<float>& port,
                          std::size_t place) {
      std::copy_n(from.begin() + static_cast<std::ptrdiff_t>(at), frames, port.begin());
      in[place].assign(port.begin(), port.begin() + static_cast<std::ptrdiff_t>(frames) + 1);
      inputs[place] = in[place].data();
    };
    for (std::size_t c = 0; c < channels; ++c) {
      feed(input.channels[c], rig.in[c], c);
      if (rig.layout.sideChannels > 0) feed(side.channels[c], rig.side[c], channels + c);
    }
    std::array<float*, 2> outputs = {expected.channels[0].data(),
                                     channels == 2 ? expected.channels[1].data() : nullptr};
    rig.run(static_cast<std::uint32_t>(frames));
    bare.plug.processReplacing(inputs.data(), outputs.data(), static_cast<std::int32_t>(frames));
    for (std::size_t c = 0; c < channels; ++c) {
      const std::vector<float>& out = inPlace ? rig.in[c] : rig.out[c];
      for (std::size_t i = 0; i < frames; ++i) {
        ASSERT_NEAR(out[i], expected.channels[c][i], 2e-6) << "frame " << at + i;
      }
    }
    if (!inPlace && at <= kBadSample && kBadSample < at + frames) {
      EXPECT_TRUE(std::isnan(rig.in[0][kBadSample - at])) << "the host's buffer is cleaned";
    }
    at += frames;
  }

  std::size_t at = 0;
  Lv2Rig rig;
  PlugRig bare;

 private:
  const std::size_t channels;
  const bool inPlace;
  Stereo<float> input = noise<float>(kFrames);
  const Stereo<float> side = noise<float>(kFrames);
};

void runAndWork(Lv2Rig& rig, int blocks, std::uint32_t frames = 1024) {
  for (int block = 0; block < blocks; ++block) {
    rig.run(frames);
    rig.work();
  }
}

/// Runs a constant in all channels for some blocks and gives the level of the last one's end.
float levelAfter(Lv2Rig& rig, int blocks, std::uint32_t frames) {
  for (auto& channel : rig.in) std::fill(channel.begin(), channel.end(), 0.5F);
  runAndWork(rig, blocks, frames);
  return rig.out[0][frames - 1];
}

std::vector<char> chunkOf(const StoredState& state) {
  return state.values.at(UridMap::map(lv2::kChunkUri)).bytes;
}

/// What an effect would store.
StoredState stateOf(Plug& plug) {
  void* chunk = nullptr;
  const auto size = plug.getChunk(&chunk, false);
  const auto* const bytes = static_cast<const char*>(chunk);
  StoredState state;
  state.values[UridMap::map(lv2::kChunkUri)] = {{bytes, bytes + size},
                                                UridMap::map(LV2_ATOM__Chunk)};
  return state;
}

double decibels(float level) { return 20.0 * std::log10(static_cast<double>(level)); }

}  // namespace

TEST(Lv2Plugin, GivesTheEffectsOutputWhateverTheBlocks) {
  const struct {
    const lv2::PortLayout& layout;
    double rate;
    std::vector<std::size_t> blocks;
    bool inPlace;
  } cases[] = {
      {kSidechain, 48000.0, {64}, false},
      {kSidechain, 22050.0, {1, 63, 1024, 0, 1025, 8191}, true},
      {kStereo, 192000.0, {8191, 1, 17}, true},
      {kStereo, 44100.0, {500}, false},
      {kMono, 96000.0, {1, 4097, 333}, true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.layout.name << " at " << c.rate << " Hz");
    SideBySide both(c.layout, c.rate, c.inPlace);
    for (std::size_t turn = 0; both.at < SideBySide::kFrames; ++turn) {
      both.play(std::min(c.blocks[turn % c.blocks.size()], SideBySide::kFrames - both.at));
    }
    EXPECT_EQ(both.rig.latency(), both.bare.plug.getInitialDelay());
    EXPECT_EQ(both.rig.jobs, 0) << "the controls were in force from the start";
  }
}

TEST(Lv2Plugin, ControlsReachTheSound) {
  constexpr std::uint32_t kFrames = 64;
  Lv2Rig rig(kStereo);
  levelAfter(rig, 200, kFrames);
  // A step of the trim in every block: the worker hears at most every 14 ms, and never the less
  // often.
  rig.jobs = 0;
  for (int block = 0; block < 150; ++block) {
    rig.parameter("kOpTrim") = -6.0F * static_cast<float>(block % 2);
    rig.run(kFrames);
    rig.work();
  }
  EXPECT_NEAR(rig.jobs, 150.0 / 10.0, 2.0);
  // A change is in the sound, whose gains take 21 ms from one to the next, after less than 20 ms.
  levelAfter(rig, 50, kFrames);
  rig.parameter("kOpTrim") = -12.0F;
  EXPECT_LT(decibels(levelAfter(rig, 15, kFrames)), decibels(0.5F) - 6.2);
  EXPECT_NEAR(decibels(levelAfter(rig, 20, kFrames)), decibels(0.5F) - 12.0, 0.01);
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
  rig.run(kFrames);
  rig.jobs = 0;
  const double before = decibels(rig.out[0][kFrames - 1]);
  rig.parameter("kOpTrim") = 0.0F;
  rig.run(kFrames);
  EXPECT_GT(decibels(rig.out[0][kFrames - 1]), before + 1.0);
  EXPECT_EQ(rig.jobs, 0);
}

TEST(Lv2Plugin, WithoutAWorkerTheMessageThreadDelivers) {
  for (const bool refuses : {false, true}) {
    SCOPED_TRACE(refuses);
    Lv2Rig rig(kStereo, 48000.0, refuses ? Lv2Rig::kWorker : Lv2Rig::kNoWorker);
    rig.workerAccepts = false;
    levelAfter(rig, 200, 64);
    rig.parameter("kOpTrim") = -12.0F;
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    double level = 0.0;
    do {
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
      level = decibels(levelAfter(rig, 1, 96));
    } while (level > decibels(0.5F) - 11.9 && std::chrono::steady_clock::now() < limit);
    EXPECT_NEAR(level, decibels(0.5F) - 12.0, 0.2);
  }
}

TEST(Lv2Plugin, OfflineRenderingTakesTheOfflineQuality) {
  Lv2Rig rig(kStereo, 48000.0, Lv2Rig::kWorker, {{"kOversampleOL", 2.0F}});
  rig.run(64);
  const int live = rig.latency();
  rig.control(kStereo.freewheel()) = 1.0F;
  rig.run(64);
  EXPECT_GT(rig.latency(), live);
  rig.control(kStereo.freewheel()) = 0.0F;
  {
    const RealTimeCheck::Exception leavesOffline;
    rig.run(64);
  }
  EXPECT_EQ(rig.latency(), live);
}

TEST(Lv2Plugin, BypassIsOnByEitherPort) {
  Lv2Rig rig(kStereo, 48000.0, Lv2Rig::kWorker, {{"kIpTrim", -20.0F}});
  const double trimmed = decibels(levelAfter(rig, 300, 64));
  EXPECT_NEAR(trimmed, decibels(0.5F) - 20.0, 0.01);
  const auto levelWith = [&rig](float enabled, float bypass) {
    rig.control(kStereo.enabled()) = enabled;
    rig.parameter("kBypass") = bypass;
    return decibels(levelAfter(rig, 300, 64));
  };
  EXPECT_NEAR(levelWith(0.0F, 0.0F), decibels(0.5F), 0.01);
  EXPECT_NEAR(levelWith(0.0F, 1.0F), decibels(0.5F), 0.01);
  EXPECT_NEAR(levelWith(1.0F, 1.0F), decibels(0.5F), 0.01);
  EXPECT_NEAR(levelWith(1.0F, 0.0F), trimmed, 0.01);
}

TEST(Lv2Plugin, StatesBringBanksAndPortsHaveTheLastWord) {
  const auto runBoth = [](Lv2Rig& rig) { return decibels(levelAfter(rig, 400, 64)); };
  Lv2Rig first(kStereo, 48000.0, Lv2Rig::kWorker, {{"kOpTrim", -3.0F}});
  first.run(64);
  first.parameter("kABBank") = 2.0F;  // bank C keeps -9, bank A -3
  runAndWork(first, 1, 4096);
  // While the host is asked to move this port back.
  first.parameter("kOpTrim") = -9.0F;
  EXPECT_NEAR(runBoth(first), decibels(0.5F) - 9.0, 0.01);
  EXPECT_EQ(first.parameter("kOpTrim"), -9.0F);
  const StoredState state = first.save();

  // A new instance whose ports hold what they held then: as it was.
  Lv2Rig same(kStereo, 48000.0, Lv2Rig::kWorker, {{"kOpTrim", -9.0F}, {"kABBank", 2.0F}});
  ASSERT_EQ(same.restore(state), LV2_STATE_SUCCESS);
  EXPECT_NEAR(runBoth(same), decibels(0.5F) - 9.0, 0.01);
  same.parameter("kABBank") = 0.0F;
  EXPECT_NEAR(runBoth(same), decibels(0.5F) - 3.0, 0.01);

  // Other ports win, and the banks that are not live stay as stored.
  Lv2Rig other(kStereo, 48000.0, Lv2Rig::kWorker, {{"kOpTrim", -15.0F}, {"kABBank", 2.0F}});
  ASSERT_EQ(other.restore(state), LV2_STATE_SUCCESS);
  EXPECT_NEAR(runBoth(other), decibels(0.5F) - 15.0, 0.01);
  other.parameter("kABBank") = 0.0F;
  EXPECT_NEAR(runBoth(other), decibels(0.5F) - 3.0, 0.01);

  // The chunk alone, as another program may have made it, says nothing of ports: all win.
  StoredState chunkOnly = state;
  chunkOnly.values.erase(UridMap::map(lv2::kPortValuesUri));
  Lv2Rig late(kStereo);
  ASSERT_EQ(late.restore(chunkOnly), LV2_STATE_SUCCESS);
  EXPECT_NEAR(runBoth(late), decibels(0.5F), 0.01);

  // Nothing stored: a new instance.
  ASSERT_EQ(same.restore({}), LV2_STATE_SUCCESS);
  EXPECT_EQ(chunkOf(same.save()), chunkOf(Lv2Rig(kStereo).save()));
}

/// The order in which hosts bring ports and state, and whatever runs meanwhile, must not matter.
TEST(Lv2Plugin, RestoredSessionsAreAsTheyWereStored) {
  // A switch of banks whose values the host's ports have not followed.
  const auto play = [](Lv2Rig& rig) {
    rig.movesPorts = false;
    runAndWork(rig, 10);
  };
  const auto setPorts = [](Lv2Rig& rig) {
    rig.set({{"kOpTrim", -3.0F}, {"kB1Threshold", -20.0F}, {"kABBank", 1.0F}});
  };
  Lv2Rig first(kStereo, 48000.0, Lv2Rig::kWorker, {{"kOpTrim", -3.0F}, {"kB1Threshold", -20.0F}});
  play(first);
  setPorts(first);
  play(first);
  const StoredState stored = first.save();
  enum Step { kPorts, kRun, kRunWithoutWorker, kRestore, kSaveAndRestore, kWork };
  const std::vector<Step> orders[] = {{kPorts, kRun, kRestore},
                                      {kPorts, kRestore},
                                      {kRestore, kPorts},
                                      {kRestore, kSaveAndRestore, kPorts},
                                      {kRestore, kPorts, kRun, kSaveAndRestore},
                                      {kRestore, kRun, kPorts},
                                      {kRunWithoutWorker, kRestore, kWork, kPorts}};
  for (std::size_t order = 0; order < std::size(orders); ++order) {
    SCOPED_TRACE(order);
    // What was in use before: another bank, and other values.
    Lv2Rig rig(kStereo, 48000.0, Lv2Rig::kWorker, {{"kABBank", 3.0F}, {"kIpTrim", 5.0F}});
    play(rig);
    for (const Step step : orders[order]) {
      switch (step) {
        case kPorts:
          rig.parameter(kIpTrim) = 0.0F;
          setPorts(rig);
          break;
        case kRun:
          runAndWork(rig, 2);
          break;
        case kRunWithoutWorker:
          rig.parameter("kB1Threshold") = -40.0F;
          rig.run(1024);
          break;
        case kRestore:
          ASSERT_EQ(rig.restore(stored), LV2_STATE_SUCCESS);
          break;
        case kSaveAndRestore:
          ASSERT_EQ(rig.restore(rig.save()), LV2_STATE_SUCCESS);
          break;
        case kWork:
          rig.work();
          break;
      }
    }
    play(rig);
    EXPECT_TRUE(chunkOf(rig.save()) == chunkOf(stored));
  }
}

TEST(Lv2Plugin, PresetsOfPortsLeaveTheBanksAlone) {
  Lv2Rig rig(kStereo, 48000.0, Lv2Rig::kWorker, {{"kOpTrim", -3.0F}, {"kABBank", 4.0F}});
  rig.run(64);
  const StoredState before = rig.save();
  StoredState preset;
  preset.values[UridMap::map(lv2::kPortsOnlyUri)] = {{1, 0, 0, 0}, UridMap::map(LV2_ATOM__Bool)};
  ASSERT_EQ(rig.restore(preset), LV2_STATE_SUCCESS);
  EXPECT_TRUE(chunkOf(rig.save()) == chunkOf(before));
}

TEST(Lv2Plugin, LinkedPortsThatMoveTogetherKeepTheirOwnValues) {
  const auto threshold = [](int band) { return bandParameterId(band, kB1Threshold); };
  PlugRig reference;
  for (int band = 0; band < 3; ++band) reference.plug.setLinked(threshold(band), true);
  Lv2Rig rig(kStereo);
  ASSERT_EQ(rig.restore(stateOf(reference.plug)), LV2_STATE_SUCCESS);
  runAndWork(rig, 10);
  const auto valuesAre = [&](float one, float two, float three) {
    runAndWork(rig, 2);
    const std::vector<char> chunk = chunkOf(rig.save());
    reference.plug.setChunk(chunk.data(), static_cast<std::int32_t>(chunk.size()), false);
    EXPECT_NEAR(reference.plug.getPlainValue(threshold(0)), one, 1e-4);
    EXPECT_NEAR(reference.plug.getPlainValue(threshold(1)), two, 1e-4);
    EXPECT_NEAR(reference.plug.getPlainValue(threshold(2)), three, 1e-4);
  };
  rig.set({{"kB1Threshold", -10.0F}, {"kB2Threshold", -20.0F}});
  valuesAre(-10.0F, -20.0F, -20.0F);
  rig.set({{"kB2Threshold", -30.0F}});
  valuesAre(-30.0F, -30.0F, -30.0F);
}

TEST(Lv2Plugin, DamagedStatesChangeNothing) {
  Lv2Rig rig(kStereo, 48000.0, Lv2Rig::kWorker, {{"kOpTrim", -3.0F}});
  rig.run(64);
  const StoredState before = rig.save();
  const LV2_URID key = UridMap::map(lv2::kChunkUri);
  const LV2_URID portsKey = UridMap::map(lv2::kPortValuesUri);
  const auto damaged = [&](auto change) {
    StoredState state = before;
    change(state.values[key]);
    return rig.restore(state);
  };
  using Value = StoredState::Value;
  EXPECT_NE(damaged([](Value& v) { v.bytes.resize(9); }), LV2_STATE_SUCCESS);
  EXPECT_NE(damaged([](Value& v) { v.bytes.clear(); }), LV2_STATE_SUCCESS);
  EXPECT_NE(damaged([](Value& v) { v.bytes[v.bytes.size() / 2] ^= 0x55; }), LV2_STATE_SUCCESS);
  EXPECT_NE(damaged([](Value& v) { v.type = UridMap::map(LV2_ATOM__Int); }), LV2_STATE_SUCCESS);
  EXPECT_EQ(rig.save().values[key].bytes, before.values.at(key).bytes);
  // Damaged port values cost no more than the memory of what the ports held.
  StoredState state = before;
  state.values[portsKey].bytes.resize(100);
  EXPECT_EQ(rig.restore(state), LV2_STATE_SUCCESS);
  runAndWork(rig, 1, 64);
  EXPECT_EQ(rig.save().values[key].bytes, before.values.at(key).bytes);
}

TEST(Lv2Plugin, TellsTheHostWhatChangedInside) {
  Lv2Rig rig(kStereo);
  rig.run(64);
  rig.run(64);
  EXPECT_TRUE(rig.requests.empty());
  // A switch of banks brings other values: B of the factory content compresses.
  rig.parameter("kABBank") = 1.0F;
  runAndWork(rig, 1, 4096);
  rig.run(64);
  const auto requests = rig.requests;
  rig.requests.clear();
  runAndWork(rig, 20);
  EXPECT_TRUE(rig.requests.empty()) << "the answers of the host are no news";
  for (const auto& [id, plain] : requests) {
    EXPECT_NE(id, kABBank);
    EXPECT_EQ(rig.parameter(id), plain);
  }
}

TEST(Lv2Plugin, SurvivesHostsThatBreakTheRules) {
  const LV2_Descriptor* const descriptor = lv2_descriptor(0);
  const LV2_Feature* none = nullptr;
  EXPECT_EQ(descriptor->instantiate(descriptor, 0.0, "", &none), nullptr);
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
      rig.run(1000);
      rig.work();
      for (std::size_t i = 0; i < 1000; ++i) ASSERT_TRUE(std::isfinite(rig.out[0][i]));
    }
  }
}
