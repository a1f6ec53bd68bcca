#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <mutex>
#include <numeric>
#include <optional>
#include <random>
#include <thread>

#include "dynamics/output_levels.h"
#include "editing/bank_selector.h"
#include "state/chunk_codec.h"
#include "tests/core/plug_rig.h"
#include "tests/support/becomes.h"
#include "tests/support/realtime_guard.h"
#include "tests/support/sanitizers.h"
#include "tests/support/seccomp_child.h"
#include "tests/support/test_directory.h"

namespace {

/// Buffers for one call of the longest block.
template <typename Sample>
struct Call {
  static constexpr int kMost = 4096;

  Call() : main(noise<Sample>(kMost)), side(noise<Sample>(kMost)), out(kMost) {}
  void operator()(Plug& plug, int frames) {
    std::array<Sample*, 4> in = {main.channels[0].data(), main.channels[1].data(),
                                 side.channels[0].data(), side.channels[1].data()};
    std::array<Sample*, 2> outputs = {out.channels[0].data(), out.channels[1].data()};
    process(plug, in.data(), outputs.data(), frames);
  }
  Stereo<Sample> main, side, out;
};

TEST(PlugRealtimeTest, ProcessingNeitherAllocatesNorLocks) {
  PlugRig rig("AutoGain=1");
  rig.plug.endEdit(kAutoGain);
  Call<double> call;
  Call<float> single;
  for (int step = 0; step < 300 && !HasFailure(); ++step) {
    rig.plug.setParameter(step * 37 % kNumParams, static_cast<float>(step * 61 % 101) * 0.01F);
    for (const int frames : {1, 63, 64, call.kMost}) {
      SCOPED_TRACE(testing::Message() << frames << " frames after step " << step);
      step % 2 == 0 ? call(rig.plug, frames) : single(rig.plug, frames);
    }
  }
}

// The whole list of what may leave real time on the audio thread.
TEST(PlugRealtimeTest, OnlyASwitchOfTheHostMayLeaveRealTime) {
  std::vector<float> sound(100000);
  std::array<float*, 4> pins = {sound.data(), sound.data(), nullptr, nullptr};
  PlugRig rig;
  const auto calls = [&pins, &rig](int frames) {
    const RealtimeGuard guard;
    rig.plug.processReplacing(pins.data(), pins.data(), frames);
    return std::pair(guard.heapCalls(), guard.lockCalls());
  };
  EXPECT_EQ(calls(100000), std::pair(0, 0)) << "a block of any length";
  rig.processLevel = kProcessLevelOffline;
  EXPECT_GT(calls(64).second, 0) << "the full update on the way to offline";
  EXPECT_EQ(calls(64), std::pair(0, 0)) << "once";
}

TEST(PlugRealtimeTest, AThousandBlocksNeedNoSystemCall) {
  std::unique_ptr<PlugRig> rig;
  std::unique_ptr<Call<float>> call;
  const SeccompEnd end = runUnderSeccomp(
      [&] {
        rig = std::make_unique<PlugRig>();
        rig->setText("B1Type=1 B2State=1 B2Frequency=100 B3State=1 B4State=1 B4Type=1");
        call = std::make_unique<Call<float>>();
        (*call)(rig->plug, 64);
      },
      [&] {
        for (int block = 0; block < 1000; ++block) (*call)(rig->plug, 64);
      });
  if (end.unavailable()) GTEST_SKIP() << "processes cannot be sealed here";
  EXPECT_TRUE(end.clean()) << end.text();
}

#if CORVANTHELIS_THREAD_SANITIZER
constexpr std::chrono::seconds kStress{12};
#else
constexpr std::chrono::seconds kStress{2};
#endif

/// What a host and an editor may do, one thing at a time, at random.
class Storm {
 public:
  Storm(Plug& ofPlug, unsigned seed) : plug(ofPlug), random(seed) {}

  int below(int end) { return static_cast<int>(random() % static_cast<unsigned>(end)); }
  int index() { return below(kNumParams); }

  /// Any parameter to anywhere, ends included, in one of the ways they have.
  void turn() {
    const int id = index();
    const auto value = static_cast<float>(below(1001)) * 0.001F;
    const int way = below(4);
    if (way > 1) return plug.setParameter(id, value);
    if (way == 0) plug.beginEdit(id);
    plug.setParameterAutomated(id, way == 0 ? std::round(value) : value);
    if (way == 0) plug.endEdit(id);
  }
  /// Saves a session and may load it again.
  void keepSession() {
    void* data = nullptr;
    const bool isPreset = below(4) == 0;
    const auto size = static_cast<std::size_t>(plug.getChunk(&data, isPreset));
    const std::string chunk(static_cast<const char*>(data), size);
    EXPECT_TRUE(readDocument(chunk) != nullptr);
    if (below(4) == 0) plug.setChunk(chunk.data(), static_cast<std::int32_t>(size), isPreset);
    std::array<char, 2 * ProgramRecord::kNameCapacity> name{};
    plug.getProgramName(name.data());
    plug.setProgramName(below(2) == 0 ? "A" : "Another name, longer than any text holds itself");
  }
  /// One of these, on the message thread.
  void work() {
    PresetFiles& files = plug.presetFiles();
    EditorState& editor = plug.editorState();
    const std::string path = plug.machine().folders().presets() + std::to_string(below(3)) + ".";
    const auto save = [&](const char* extension, bool one) {
      EXPECT_TRUE(files.savePreset(path + extension, extension, one));
    };
    const std::function<void()> all[] = {
        [&] { plug.addBand(below(3), 10.0 + below(20000)); },
        [&] { plug.setBandPosition(below(kNumBands), below(3)); },
        [&] { plug.deleteBand(below(kNumBands)); },
        [&] { plug.setBlockSize(below(8192)); },
        [&] { below(2) == 0 ? plug.undo() : plug.redo(); },
        [&] { plug.switchBank(below(Plug::kNumBanks)); },
        [&] { keepSession(); },
        [&] { plug.setLinked(index(), below(2) == 0); },
        [&] { plug.machine().midiMap().setLearnTarget(below(kBandOrder)); },
        [&] { save(kPresetExtension, true), files.buildPresetMenu(); },
        [&] { save(kBankExtension, false), files.loadPresetFile(path + kBankExtension); },
        [&] { files.nextPreset(), files.previousPreset(); },
        [&] { banks.choose(below(Plug::kNumBanks)), banks.toggle(AbToggleMode::kVisited); },
        [&] { showWindow(below(3)); },
        [&] { plug.edits().endAll(); },
        [&] { editor.lastListen = editor.currentBand = below(kNumBands); },
        [&] { plug.uiSettings().setUiValue("Graph", "Range", static_cast<double>(below(6))); }};
    all[random() % std::size(all)]();
    plug.updateDsp(below(10) == 0);
  }
  double look();
  double draw();

 private:
  /// Opens it, lays it out or closes it.
  void showWindow(int step) {
    const Plug::StateScope scope(plug);
    step == 2 ? plug.editorState().beginLayout() : plug.editorState().setWindowOpen(step == 0);
  }

  Plug& plug;
  BankSelector banks{plug.edits(), plug.editorState()};
  std::mt19937 random;
  GainReductionReader reductions{plug.getEngine().meterPeaks()};
  OutputLevels levels{plug.getEngine().outputFeed()};
};

/// All that an editor shows of a chain.
double Storm::draw() {
  compressor& engine = plug.getEngine();
  double seen = 0.0;
  const std::array<float, 3> frequencies = {100.0F, 1000.0F + static_cast<float>(below(100)),
                                            9000.0F};
  std::array<float, 3> curve{};
  for (int band = 0; band < kNumBands; ++band) {
    const int n = 1 + below(3);
    plug.getBandCurve(band, frequencies.data(), n, curve.data());
    seen += static_cast<double>(curve[static_cast<std::size_t>(n) - 1]);
    seen += plug.getBandResponse(band, 500.0) + engine.getStaticCurve(band).gainAtDb(-10.0);
    seen += engine.getSidechainResponse(band, below(4), 500.0);
  }
  levels.update();
  // Who comes and goes.
  const AnalyserReader analysed(engine.analyserFeed());
  const OutputLevels others(engine.outputFeed());
  seen += GainReductionReader(engine.meterPeaks()).getGainReduction(below(8));
  // Samples are taken for decibels: beyond 6160 the power of ten is infinite, and should be.
  return seen + std::min(reductions.getGainReduction(below(8)), 1e9) + levels.rms(below(2)) +
         std::max(levels.momentaryLufs(), -1e9);
}

/// All that an editor shows.
double Storm::look() {
  double seen = plug.getOutputPeak(0) + plug.getOutputPeak(1);
  for (int selector = 0; selector < 8; ++selector) {
    seen += std::min(plug.getGainReduction(selector), 1e9);
  }
  for (int band = 0; band < kNumBands; ++band) {
    seen += plug.getBandGraphGain(band) + plug.getBandEnvelope(band);
    seen += plug.getBandGain(band, 3, band % 2) + plug.getBandLamp(band, band % 2 == 0);
  }
  std::array<std::array<double, 512>, AnalyserFeed::kTraces> traces{};
  double* const buffers[] = {traces[0].data(), traces[1].data(), traces[2].data(),
                             traces[3].data()};
  plug.getAnalyserData(buffers, 512);
  for (const auto& trace : traces) seen += std::accumulate(trace.begin(), trace.end(), 0.0);
  std::array<char, 256> text{};
  plug.getParameterDisplay(index(), text.data());
  return seen;
}

/// What an instance sounds like with all parameters where they were at first, but for a few.
Stereo<double> soundAnew(PlugRig& rig) {
  const RealTimeCheck::Exception mayBeOffline;
  rig.processLevel = 2;
  rig.plug.onIdle();
  rig.plug.setLinkWords(Plug::FlagWords{});
  rig.plug.switchBank(0);
  for (int id = 0; id < kABBank; ++id) rig.plug.setParameter(id, rig.plug.getParameterDefault(id));
  rig.setText("B2Type=1 B2State=1 B2Threshold=-20 B2Ratio=.5 B2SCLF=1 B2SCLFF=300 B1Ratio=.7");
  render(rig.plug, noise<double>(4000), 64);  // until no ramp is left
  rig.plug.resume();
  return render(rig.plug, noise<double>(8000), 64);
}

// All that other threads may do, beside audio at full speed. The host has a lock of its own, held
// when it asks for the state and wanted when it is told of things.
TEST(PlugThreadsTest, AudioParametersBandsIdleAndReadersRunSideBySide) {
  const TestDirectory directory;
  PlugRig rig({}, 48000.0, {directory.path("user"), ""});
  std::filesystem::create_directories(directory.path("user/Presets"));
  std::recursive_mutex hostLock;
  std::atomic<int> told{0};
  rig.onAutomate = [&] {
    const std::lock_guard guard(hostLock);
    void* data = nullptr;
    EXPECT_TRUE(++told % 1000 != 0 || rig.plug.getChunk(&data, false) > 0);
  };
  Storm host(rig.plug, 0), automat(rig.plug, 1), user(rig.plug, 2), audio(rig.plug, 3),
      painter(rig.plug, 4);
  Disturbance session([&](int /*step*/) {
    const std::lock_guard guard(hostLock);
    host.keepSession();
  });
  Disturbance automation([&](int /*step*/) { automat.turn(); });
  Disturbance message([&](int /*step*/) {
    user.turn();
    for (int i = 0; i < 3; ++i) user.work();
    rig.plug.onIdle();
    EXPECT_TRUE(std::isfinite(user.look() + user.draw()));
  });
  Disturbance picture([&](int /*step*/) { EXPECT_TRUE(std::isfinite(painter.draw())); });
  Call<double> call;
  const auto end = std::chrono::steady_clock::now() + kStress;
  while (std::chrono::steady_clock::now() < end && !testing::Test::HasFailure()) {
    std::optional<RealTimeCheck::Exception> theSwitch;
    if (audio.below(100) == 0) {
      rig.processLevel =
          rig.processLevel == kProcessLevelRealtime ? kProcessLevelOffline : kProcessLevelRealtime;
      theSwitch.emplace();
    }
    const int frames =
        std::array{1, 63, 64, 64, 500, call.kMost}[static_cast<std::size_t>(audio.below(6))];
    // Controllers that learn now and then.
    sendController(rig.plug, 0xB0, static_cast<int>(audio.below(4)),
                   static_cast<int>(audio.below(128)));
    call(rig.plug, frames);
    for (const auto& channel : call.out.channels) {
      EXPECT_TRUE(std::all_of(channel.begin(), channel.begin() + frames,
                              [](double x) { return std::isfinite(x); }));
    }
  }
  for (Disturbance* const each : {&automation, &message, &session, &picture}) each->end();
  BandLayout::List all = rig.plug.getEngine().layout.orderList;
  std::sort(all.begin(), all.end());
  EXPECT_EQ(all, (BandLayout::List{0, 1, 2, 3, 4, 5, 6, 7}));
  PlugRig fresh;
  EXPECT_TRUE(soundAnew(rig) == soundAnew(fresh)) << "the storm has left something behind";
}

// Neither is a band operation undone by a parameter that comes from another thread at that moment,
// nor are designs made at a mix of two rates.
TEST(PlugThreadsTest, ParametersFromAnotherThreadDisturbNeitherChainEditsNorANewRate) {
  PlugRig rig("B1State=1 B1Type=1 B1Lookahead=50");
  const Disturbance control([&rig](int step) {
    const auto value = static_cast<float>(step % 100) * 0.01F;
    rig.plug.setParameter(step % 2 == 0 ? kIpTrim : kB1Frequency, value);
  });
  BandLayout& layout = rig.plug.getEngine().layout;
  for (int turn = 0; turn < 2000; ++turn) {
    rig.plug.addBand(kPostList, 100.0);
    ASSERT_EQ(layout.copyOf(layout.pre), (BandLayout::List{0, 1})) << "turn " << turn;
    rig.plug.deleteBand(1);
    ASSERT_EQ(layout.copyOf(layout.pre), BandLayout::List{0}) << "turn " << turn;
    if (turn % 50 != 0) continue;
    const double rate = turn % 100 == 0 ? 96000.0 : 48000.0;
    rig.plug.setSampleRate(static_cast<float>(rate));
    rig.plug.resume();
    ASSERT_EQ(rig.plug.getInitialDelay(), static_cast<int>(0.05 * rate) + 1024);
  }
}

TEST(PlugThreadsTest, InstancesOfOneProcessShareTheIdleTimer) {
  const auto timed = [] {
    return std::make_unique<Plug>(nullptr, Plug::Idle::kTimer, &monotonicMilliseconds,
                                  Machine::detached());
  };
  const auto owner = timed();
  Plug& first = *owner;
  {
    const auto second = timed();
    const auto third = timed();
  }
  first.setParameter(kAutoGain, 1.0F);
  first.endEdit(kAutoGain);
  Call<float> call;
  for (int block = 0; block < 12; ++block) call(first, Call<float>::kMost);
  EXPECT_TRUE(becomes([&first] { return !first.getEngine().measuring(); })) << "by the timer";
}

}  // namespace
