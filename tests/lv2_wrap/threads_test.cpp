#include <atomic>
#include <cmath>
#include <thread>

#include "state/machine.h"
#include "tests/lv2_wrap/lv2_rig.h"

namespace {

/// Audio with moving controls and MIDI, the worker, a session that stores and restores, and the
/// message thread, all at once.
TEST(Lv2Threads, StatesAndControlsMeetTheAudioThread) {
  Lv2Rig rig(lv2::kPlugins[0], 48000.0, Lv2Rig::kNoWorker,
             {{"kB2State", 1.0F}, {"kB2Frequency", 5000.0F}, {"kB1Threshold", -30.0F}});
  Machine::ofProcess().midiMap().learn(parameterKeyTable().find("kB1Ratio"), 20);
  std::atomic<bool> done{false};
  std::thread session([&rig, &done] {
    while (!done) {
      EXPECT_EQ(rig.restore(rig.save()), LV2_STATE_SUCCESS);
      rig.interface<LV2_Worker_Interface>(LV2_WORKER__interface)
          ->work(rig.instance, nullptr, nullptr, 0, nullptr);
    }
  });
  for (auto& channel : rig.in) {
    for (std::size_t i = 0; i < channel.size(); ++i) channel[i] = i % 97 < 48 ? 0.4F : -0.4F;
  }
  for (int block = 0; block < 400; ++block) {
    const auto step = static_cast<float>(block % 50);
    rig.set({{"kB1Frequency", 100.0F + 10.0F * step}, {"kABBank", std::floor(step / 10.0F)}});
    rig.midi.push_back({0xB0, 20, static_cast<std::uint8_t>(block % 128)});
    rig.run(static_cast<std::uint32_t>(1 + block * 37 % 2000));
    ASSERT_LT(std::abs(rig.out[0][0]), 100.0F);
    std::this_thread::sleep_for(std::chrono::microseconds(500));
  }
  done = true;
  session.join();
  Machine::ofProcess().midiMap().unlearn(parameterKeyTable().find("kB1Ratio"));
}

}  // namespace
