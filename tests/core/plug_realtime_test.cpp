#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <thread>

#include "tests/core/plug_rig.h"
#include "tests/support/realtime_guard.h"
#include "tests/support/seccomp_child.h"

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

/// One parameter somewhere else, by turns of all.
void turnOne(Plug& plug, int step) {
  const int index = step * 37 % kNumParams;
  plug.setParameter(index, static_cast<float>(step * 61 % 101) * 0.01F);
}

template <typename Sample>
void expectNoHeapAndNoLocks() {
  PlugRig rig({{"kAutoGain", 1}});
  rig.plug.endEdit(kAutoGain);
  Call<Sample> call;
  for (int step = 0; step < 150; ++step) {
    turnOne(rig.plug, step);
    for (const int frames : {1, 63, 64, Call<Sample>::kMost}) {
      const RealtimeGuard guard;
      call(rig.plug, frames);
      ASSERT_EQ(guard.heapCalls(), 0) << frames << " frames after step " << step;
      ASSERT_EQ(guard.lockCalls(), 0) << frames << " frames after step " << step;
    }
  }
}

TEST(PlugRealtimeTest, ProcessingNeitherAllocatesNorLocks) {
  expectNoHeapAndNoLocks<float>();
  expectNoHeapAndNoLocks<double>();
}

// The whole list of what may leave real time on the audio thread.
TEST(PlugRealtimeTest, OnlyALongBlockAndASwitchOfTheHostMayLeaveRealTime) {
  PlugRig rig;
  Call<float> call;
  std::vector<float> longBlock(5000);
  std::array<float*, 4> in = {longBlock.data(), longBlock.data(), nullptr, nullptr};
  std::array<float*, 2> out = {longBlock.data(), longBlock.data()};
  {
    const RealtimeGuard guard;
    rig.plug.processReplacing(in.data(), out.data(), 5000);
    EXPECT_GT(guard.heapCalls(), 0) << "a block longer than the buffers";
  }
  PlugRig announced;
  announced.plug.setBlockSize(5000);
  announced.plug.resume();
  {
    const RealtimeGuard guard;
    announced.plug.processReplacing(in.data(), out.data(), 5000);
    EXPECT_EQ(guard.heapCalls(), 0) << "a host that keeps its word never meets it";
  }
  rig.processLevel = kProcessLevelOffline;
  {
    const RealtimeGuard guard;
    call(rig.plug, 64);
    EXPECT_GT(guard.lockCalls(), 0) << "the full update on the way to offline";
  }
  const RealtimeGuard guard;
  call(rig.plug, 64);
  EXPECT_EQ(guard.lockCalls() + guard.heapCalls(), 0) << "once";
}

TEST(PlugRealtimeTest, AThousandBlocksNeedNoSystemCall) {
  std::unique_ptr<PlugRig> rig;
  std::unique_ptr<Call<float>> call;
  const SeccompEnd end = runUnderSeccomp(
      [&] {
        rig = std::make_unique<PlugRig>(PlugRig::Settings{{"kB1Type", 1},
                                                          {"kB2State", 1},
                                                          {"kB2Frequency", 100},
                                                          {"kB3State", 1},
                                                          {"kB4State", 1},
                                                          {"kB4Type", 1}});
        call = std::make_unique<Call<float>>();
        (*call)(rig->plug, 64);
      },
      [&] {
        for (int block = 0; block < 1000; ++block) (*call)(rig->plug, 64);
      });
  if (end.unavailable()) GTEST_SKIP() << "processes cannot be sealed here";
  EXPECT_TRUE(end.clean()) << end.text();
}

TEST(PlugRealtimeTest, AudioParametersIdleAndReadersRunSideBySide) {
  PlugRig rig;
  std::atomic<bool> done{false};
  std::thread control([&] {
    for (int step = 0; step < 3000; ++step) {
      turnOne(rig.plug, step);
      if (step % 50 == 0) rig.plug.endEdit(kIpTrim);
    }
    done = true;
  });
  std::thread message([&] {
    std::array<double, 2048> traces{};
    const auto trace = [&traces](std::size_t t) {
      return std::span<double>(traces).subspan(512 * t, 512);
    };
    for (int turn = 0; !done; ++turn) {
      rig.plug.onIdle();
      rig.plug.setBandPosition(turn % kNumBands, turn % 3);
      rig.plug.deleteBand((turn + 3) % kNumBands);
      double seen = rig.plug.getOutputPeak(0);
      for (int selector = 0; selector < 8; ++selector) seen += rig.plug.getGainReduction(selector);
      const std::array<float, 3> frequencies = {100.0F, 1000.0F + static_cast<float>(turn),
                                                9000.0F};
      std::array<float, 3> curve{};
      for (int band = 0; band < kNumBands; ++band) {
        seen += rig.plug.getBandGraphGain(band);
        rig.plug.getEngine().bandCurve(band, frequencies.data(), 3, curve.data());
        seen += static_cast<double>(curve[1]);
        rig.plug.getEngine().crossoverCurve(band, frequencies.data(), 3, curve.data());
        seen += static_cast<double>(curve[1]);
      }
      rig.plug.analyserFeed().copyLatest({trace(0), trace(1), trace(2), trace(3)});
      rig.plug.setBlockSize(64 + turn % 8 * 1024);
      EXPECT_TRUE(std::isfinite(seen));
    }
  });
  Call<float> call;
  while (!done) {
    call(rig.plug, 64);
    for (const float x : call.out.channels[0]) ASSERT_TRUE(std::isfinite(x));
  }
  control.join();
  message.join();
  BandLayout& layout = rig.plug.getEngine().layout;
  BandLayout::List all = layout.orderList;
  std::sort(all.begin(), all.end());
  EXPECT_EQ(all, (BandLayout::List{0, 1, 2, 3, 4, 5, 6, 7}));
}

// Filters and splits are designed anew without a pause while audio runs: every sample of the output
// is still the delayed input.
TEST(PlugRealtimeTest, KernelsComeFromAnotherThreadAtFullSpeed) {
  PlugRig rig({{"kB1Type", 1}, {"kB2Type", 1}, {"kB2State", 1}, {"kB3State", 1}, {"kB4State", 1}});
  rig.set({{"kB3Frequency", 200}, {"kB4Frequency", 2000}, {"kB5State", 1}, {"kB5Type", 1}});
  for (int band = 0; band < 5; ++band) rig.set(bandParameterId(band, kB1Bypass), 1);
  rig.plug.resume();
  rig.plug.onIdle();
  const auto latency = static_cast<std::size_t>(rig.plug.getAeffect()->initialDelay);
  std::atomic<bool> done{false};
  std::atomic<int> designs{0};
  std::thread control([&] {
    constexpr std::array<int, 3> kRows = {kB1Slope, kB1Q, kB1Slope2};
    for (int step = 0; !done; ++step) {
      const int row = kRows[static_cast<std::size_t>(step % 3)];
      rig.plug.setParameter(bandParameterId(step % 5, row),
                            0.1F + static_cast<float>(step * 61 % 101) * 0.008F);
      ++designs;
    }
  });
  const auto input = noise<double>(48000);
  Stereo<double> output(input.frames());
  while (designs == 0) std::this_thread::yield();
  output = render(rig.plug, input, 64);
  done = true;
  control.join();
  EXPECT_GT(designs, 20);
  for (std::size_t c = 0; c < 2; ++c) {
    for (std::size_t i = latency; i < output.channels[c].size(); ++i) {
      ASSERT_NEAR(output.channels[c][i], input.channels[c][i - latency], 5e-14) << i;
    }
  }
}

// A band operation is not undone by a parameter that comes from another thread at that moment.
TEST(PlugRealtimeTest, ParametersFromAnotherThreadDoNotDisturbBandOperations) {
  PlugRig rig;
  std::atomic<bool> done{false};
  std::thread control([&] {
    for (int step = 0; !done; ++step) {
      rig.plug.setParameter(kIpTrim, static_cast<float>(step % 100) * 0.01F);
    }
  });
  BandLayout& layout = rig.plug.getEngine().layout;
  for (int turn = 0; turn < 2000; ++turn) {
    rig.plug.addBand(kPreList, 100.0);
    ASSERT_EQ(layout.copyOf(layout.pre), BandLayout::List{1}) << "turn " << turn;
    rig.plug.deleteBand(1);
    ASSERT_TRUE(layout.copyOf(layout.pre).empty()) << "turn " << turn;
  }
  done = true;
  control.join();
}

// A parameter that comes while the host changes the rate is designed at one rate, not at a mix.
TEST(PlugRealtimeTest, ParametersFromAnotherThreadMayMeetAResume) {
  PlugRig rig({{"kB1State", 1}, {"kB1Type", 1}, {"kB1Lookahead", 50}});
  std::atomic<bool> done{false};
  std::thread control([&] {
    for (int step = 0; !done; ++step) {
      rig.plug.setParameter(PlugRig::id("kB1Frequency"), static_cast<float>(step % 100) * 0.01F);
    }
  });
  for (int turn = 0; turn < 40; ++turn) {
    const double rate = turn % 2 == 0 ? 96000.0 : 48000.0;
    rig.plug.setSampleRate(static_cast<float>(rate));
    rig.plug.resume();
    ASSERT_EQ(rig.plug.getEngine().getLatency(), static_cast<int>(0.05 * rate) + 1024);
  }
  done = true;
  control.join();
}

TEST(PlugRealtimeTest, InstancesOfOneProcessShareTheIdleTimer) {
  Plug first;
  {
    const Plug second;
    const Plug third;
  }
  first.setParameter(kAutoGain, 1.0F);
  first.endEdit(kAutoGain);
  Call<float> call;
  for (int block = 0; block < 12; ++block) call(first, Call<float>::kMost);
  for (int wait = 0; wait < 500 && first.getEngine().measuring(); ++wait) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  EXPECT_FALSE(first.getEngine().measuring()) << "the timer ended the measurement";
}

}  // namespace
