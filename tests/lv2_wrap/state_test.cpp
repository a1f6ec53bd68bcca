#include <atomic>
#include <cmath>

#include "host/idle_timer.h"
#include "tests/core/plug_rig.h"
#include "tests/lv2_wrap/lv2_rig.h"
#include "tests/support/becomes.h"

namespace {

const lv2::PortLayout& kStereo = lv2::kPlugins[1];

void play(Lv2Rig& rig) { rig.runAndWork(10, 1024); }

/// The plain trim of the live bank, and of another one.
std::pair<float, float> trims(Lv2Rig& rig, int otherBank) {
  PlugRig reader;
  const std::vector<char> chunk = rig.chunk();
  reader.plug.setChunk(chunk.data(), static_cast<std::int32_t>(chunk.size()), false);
  const float live = reader.plug.getPlainValue(kOpTrim);
  reader.plug.loadBank(otherBank);
  return {std::round(live * 1e4F) * 1e-4F,
          std::round(reader.plug.getPlainValue(kOpTrim) * 1e4F) * 1e-4F};
}

double plainIn(Lv2Rig& rig, int id) {
  PlugRig reader;
  const std::vector<char> chunk = rig.chunk();
  reader.plug.setChunk(chunk.data(), static_cast<std::int32_t>(chunk.size()), false);
  return static_cast<double>(reader.plug.getPlainValue(id));
}

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

/// Neither a move nor a restore waits for the message thread to tell it.
TEST(Lv2State, LatencyIsToldWithTheNextBlock) {
  Lv2Rig rig(kStereo);
  play(rig);
  const int usual = PlugRig().plug.getInitialDelay();
  const int late = PlugRig({{"kB1Lookahead", 20.0}}).plug.getInitialDelay();
  const StoredState before = rig.save();
  const Stall noMessages;
  const auto expectTold = [&rig](int expected, const char* action) {
    rig.run(0);
    EXPECT_EQ(rig.latency(), expected) << action;
  };
  rig.parameter("kB1Lookahead") = 20.0F;
  rig.runAndWork(1, 1024);
  expectTold(late, "a move");
  const StoredState after = rig.save();
  ASSERT_EQ(rig.restore(before), LV2_STATE_SUCCESS);
  expectTold(usual, "a restore");
  ASSERT_EQ(rig.restore(after), LV2_STATE_SUCCESS);
  expectTold(late, "another one");
  ASSERT_EQ(rig.restore({}), LV2_STATE_SUCCESS);
  expectTold(usual, "nothing stored");
}

/// Ports that hold something else than when the state was stored win over its live bank, and leave
/// the other banks as stored.
TEST(Lv2State, BringsBanksAndPortsHaveTheLastWord) {
  Lv2Rig first(kStereo, 48000.0, Lv2Rig::kWorker, {{"kOpTrim", -3.0F}, {"kB1Knee", 40.0F}});
  first.movesPorts = false;
  play(first);
  first.parameter("kABBank") = 2.0F;  // bank C keeps -9, bank A -3; the knee's port does not follow
  first.runAndWork(1, 4096);
  // While the host is asked to move this port back.
  first.parameter("kOpTrim") = -9.0F;
  play(first);
  EXPECT_EQ(first.parameter("kOpTrim"), -9.0F);
  const StoredState state = first.save();
  StoredState chunkOnly = state;
  chunkOnly.values.erase(UridMap::map(lv2::kPortValuesUri));
  StoredState shortPorts = state;
  shortPorts.values[UridMap::map(lv2::kPortValuesUri)].bytes.resize(100);
  StoredState otherPorts = state;  // of whole numbers
  otherPorts.values[UridMap::map(lv2::kPortValuesUri)].bytes[4] ^= 1;
  const struct {
    const char* name;
    const StoredState& state;
    float trim;  ///< of the new instance's ports
    float live, bankA;
    bool allWin;
  } rows[] = {{"the ports as they were", state, -9.0F, -9.0F, -3.0F, false},
              {"other ports", state, -15.0F, -15.0F, -3.0F, false},
              {"the state alone says nothing of ports", chunkOnly, 0.0F, 0.0F, -3.0F, true},
              {"nor do ports that are damaged", shortPorts, 0.0F, 0.0F, -3.0F, true},
              {"nor those of another type", otherPorts, 0.0F, 0.0F, -3.0F, true}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    Lv2Rig rig(kStereo, 48000.0, Lv2Rig::kWorker,
               {{"kOpTrim", row.trim}, {"kABBank", 2.0F}, {"kB1Knee", 40.0F}});
    rig.movesPorts = false;
    ASSERT_EQ(rig.restore(row.state), LV2_STATE_SUCCESS);
    play(rig);
    EXPECT_EQ(trims(rig, 0), std::pair(row.live, row.bankA));
    EXPECT_NEAR(plainIn(rig, kB1Knee), row.allWin ? 40.0 : 0.0, 1e-4);
  }
  // Nothing stored: a new instance; presets of ports leave the banks alone.
  StoredState preset;
  preset.values[UridMap::map(lv2::kPortsOnlyUri)] = {{1, 0, 0, 0}, UridMap::map(LV2_ATOM__Bool)};
  const std::vector<char> before = first.chunk();
  ASSERT_EQ(first.restore(preset), LV2_STATE_SUCCESS);
  EXPECT_TRUE(first.chunk() == before);
  ASSERT_EQ(first.restore({}), LV2_STATE_SUCCESS);
  EXPECT_TRUE(first.chunk() == Lv2Rig(kStereo).chunk());
}

/// The order in which hosts bring ports and state, and whatever runs meanwhile, must not matter.
TEST(Lv2State, RestoredSessionsAreAsTheyWereStored) {
  // A switch of banks whose values the host's ports have not followed.
  const auto setPorts = [](Lv2Rig& rig) {
    rig.set({{"kOpTrim", -3.0F}, {"kB1Threshold", -20.0F}, {"kABBank", 1.0F}});
  };
  Lv2Rig first(kStereo, 48000.0, Lv2Rig::kWorker, {{"kOpTrim", -3.0F}, {"kB1Threshold", -20.0F}});
  first.movesPorts = false;
  play(first);
  setPorts(first);
  play(first);
  const StoredState stored = first.save();
  // p: ports, r: run, w: run while the worker rests, R: restore, S: save and restore, W: work
  for (const std::string order : {"prR", "pR", "Rp", "RSp", "RprS", "Rrp", "wRWp", "RrrrrSp"}) {
    SCOPED_TRACE(order);
    // What was in use before: another bank, and other values.
    Lv2Rig rig(kStereo, 48000.0, Lv2Rig::kWorker, {{"kABBank", 3.0F}, {"kIpTrim", 5.0F}});
    rig.movesPorts = false;
    play(rig);
    for (const char step : order) {
      if (step == 'p') {
        rig.parameter(kIpTrim) = 0.0F;
        setPorts(rig);
      }
      if (step == 'r') rig.runAndWork(1, 1024);
      if (step == 'w') {
        rig.parameter("kB1Threshold") = -40.0F;
        rig.run(1024);
      }
      if (step == 'R' || step == 'S') {
        ASSERT_EQ(rig.restore(step == 'R' ? stored : rig.save()), LV2_STATE_SUCCESS);
      }
      if (step == 'W') rig.work();
    }
    play(rig);
    EXPECT_TRUE(rig.chunk() == first.chunk());
  }
}

/// What was asked for before a restore is no answer after it.
TEST(Lv2State, RequestsEndWithARestore) {
  Lv2Rig rig(kStereo, 48000.0, Lv2Rig::kWorker, {{"kOpTrim", -3.0F}});
  rig.movesPorts = false;
  play(rig);
  const StoredState stored = rig.save();
  rig.parameter("kABBank") = 1.0F;  // asks for 0
  rig.runAndWork(4, 1024);
  EXPECT_EQ(std::ranges::count(rig.requests, std::pair(int{kOpTrim}, 0.0F)), 1);
  ASSERT_EQ(rig.restore(stored), LV2_STATE_SUCCESS);
  rig.parameter("kABBank") = 0.0F;
  play(rig);
  EXPECT_EQ(trims(rig, 1), std::pair(-3.0F, 0.0F));
  rig.parameter("kOpTrim") = 0.0F;  // a move of its own
  play(rig);
  EXPECT_EQ(trims(rig, 1), std::pair(0.0F, 0.0F));
}

TEST(Lv2State, RefusesWhatIsNoStateAndTellsWhatTheHostRefuses) {
  Lv2Rig rig(kStereo, 48000.0, Lv2Rig::kWorker, {{"kOpTrim", -3.0F}});
  rig.run(64);
  const StoredState before = rig.save();
  StoredState wrong = before;
  wrong.values[UridMap::map(lv2::kChunkUri)].type = UridMap::map(LV2_ATOM__Int);
  EXPECT_EQ(rig.restore(wrong), LV2_STATE_ERR_BAD_TYPE);
  EXPECT_TRUE(rig.chunk() == before.values.at(UridMap::map(lv2::kChunkUri)).bytes);
  for (const auto& [key, value] : before.values) {
    EXPECT_EQ(value.flags, std::uint32_t{LV2_STATE_IS_POD | LV2_STATE_IS_PORTABLE});
  }
  for (const char* const key : {lv2::kChunkUri, lv2::kPortValuesUri}) {
    StoredState full;
    full.refused = UridMap::map(key);
    EXPECT_EQ(rig.saveTo(full), LV2_STATE_ERR_NO_SPACE) << key;
  }
}

}  // namespace
