#include <gtest/gtest.h>
#include <malloc.h>

#include <cmath>
#include <limits>
#include <optional>
#include <random>
#include <sstream>

#include "core/parameter_table.h"
#include "platform/shared_library.h"
#include "tests/hosted/hosted.h"
#include "tests/support/becomes.h"
#include "tests/support/data_rows.h"
#include "tests/support/sanitizers.h"

namespace {

constexpr double kRounding = 2e-6;  // between filters reached by edits, and at once; other blocks

class Hosting : public testing::TestWithParam<const HostKind*> {
 protected:
  static const HostKind& kind() { return *GetParam(); }
};

INSTANTIATE_TEST_SUITE_P(, Hosting, testing::Values(&kAaxKind, &kLv2Kind),
                         [](const auto& each) { return each.param->name; });

/// An instance beside the effect alone, through the same moves.
struct SideBySide {
  SideBySide(const HostKind& hostKind, const HostSetup& setup)
      : kind(hostKind), channels(setup.channels), hosted(kind.make(setup)), reference(setup.rate) {}
  void move(const Settings& settings) {
    hosted->move(settings);
    hosted->settle();
    rest(Hosted::kLead);
    reference.set(settings);
    // Until what moves smoothly has come: when it began is the business of other threads.
    hosted->rest(2 * Hosted::kLead);
    rest(2 * Hosted::kLead);
  }
  void setOffline(bool on) {
    hosted->setOffline(on);
    reference.isOffline = on;
    rest(64);
  }
  /// The effect alone, as long as its instance has rested.
  void rest(int frames) {
    static_cast<void>(reference.render(silence(channels, frames), channels));
  }
  void restore(const Session& session) {
    EXPECT_TRUE(hosted->restore(session));
    reference.take(session.parts.at(kStatePart));
  }
  Signal play(Signal in) {
    Signal out = hosted->render(in);
    // The sidechain of a stereo instance that is fed one channel serves both, or the left alone.
    if (kind.mostSideChannels == 1 && channels == 2 && in.size() == 3) in.push_back(in[2]);
    EXPECT_EQ(firstDifference(out, reference.render(in, channels), kRounding), "");
    EXPECT_EQ(hosted->latency(), reference.getInitialDelay());
    return out;
  }

  const HostKind& kind;
  const int channels;
  const std::unique_ptr<Hosted> hosted;
  Reference reference;
};

TEST_P(Hosting, SoundsAsTheEffectAlone) {
  for (const DataRow& row : dataRows(TEST_DATA "/sounds.txt")) {
    SCOPED_TRACE(row[0]);
    HostSetup setup;
    int sideChannels = 0;
    int source = 0;
    std::istringstream(row[1]) >> setup.channels >> setup.rate >> sideChannels >> source;
    setup.hasSidechain = row[2] == "yes";
    setup.inPlace = row[3] == "yes";
    const int channels = setup.channels;
    if (sideChannels > (channels == 2 ? kind().mostSideChannels : kind().monoSideChannels)) {
      continue;
    }
    SideBySide both(kind(), setup);
    if (row[4] == "yes") both.setOffline(true);
    both.move(busySettings(source));
    both.play(noise(channels + sideChannels, 24000));
    both.hosted->expectMeters(both.reference);
    const auto& reductions = both.reference.reductions;
    EXPECT_TRUE(channels == 1 || source == 2 || reductions[1] - reductions[0] > 0.01);
    both.move(settingsOf("kB1Threshold=-12 kIpTrim=6 kB2Frequency=2000"));
    Signal odd = noise(channels + sideChannels, 12000, 7);
    odd[0][100] = std::numeric_limits<float>::quiet_NaN();
    odd.back()[200] = std::numeric_limits<float>::infinity();
    both.play(odd);
    both.hosted->rest(48000);
    const Signal nothing = silence(channels, 2000);
    EXPECT_EQ(firstDifference(both.hosted->render(nothing), nothing), "");
  }
}

/// Whatever changes the latency is told, in bypass as well, and what does not is not told wrong.
TEST_P(Hosting, DoesAsListedAndTellsItsLatency) {
  Reference reader;
  std::optional<SideBySide> both;
  std::map<std::string, Session> sessions;
  bool isHidden = false;
  runRows(TEST_DATA "/moves.txt", [&](const DataRow& row) {
    const std::string& value = row[1];
    if (row[0] == "new") {
      both.emplace(kind(), HostSetup{2, std::stod(value)});
    } else if (row[0] == "move") {
      both->move(settingsOf(value));
    } else if (row[0] == "turn") {
      const PlainSetting turned = settingsOf(value).front();
      both->hosted->turn(turned.id, static_cast<int>(turned.plain));
    } else if (row[0] == "offline") {
      both->setOffline(value == "on");
    } else if (row[0] == "bypass") {
      both->hosted->setBypass(value == "on");
      isHidden = value == "on" && kind().hidesLatency;
    } else if (row[0] == "save") {
      sessions[value] = sessions["the effect of " + value] = both->hosted->save();
      sessions["the effect of " + value].parts.erase("controls");  // which tell of the bypass
    } else {
      both->restore(sessions.at(value));
    }
    const int delay = both->reference.getInitialDelay();
    EXPECT_TRUE(becomes([&] { return both->hosted->latency() == (isHidden ? 0 : delay); }))
        << row[0] << ' ' << value << ": " << both->hosted->latency();
    if (row[2].empty()) return std::to_string(delay);
    const auto id = static_cast<std::size_t>(parameterKeyTable().find(row[2]));
    return std::to_string(std::lround(reader.valuesOf(both->hosted->state())[id]));
  });
}

TEST_P(Hosting, BypassPassesTheInputAsLateAsTold) {
  for (const int channels : {1, 2}) {
    SCOPED_TRACE(channels);
    SideBySide both(kind(), HostSetup{channels});
    both.move(busySettings());
    Signal in = noise(channels, 48000, 3);
    EXPECT_NE(firstDifference(both.play(in), delayed(in, both.hosted->latency()), 0.01), "");
    for (const bool isOn : {true, false, true}) {
      both.hosted->setBypass(isOn);
      static_cast<void>(both.hosted->render(in));
      if (kind().hidesLatency) {
        const std::array<float, 3> odd = {std::numeric_limits<float>::quiet_NaN(), -0.0F, 1e-42F};
        std::copy(odd.begin(), odd.end(), in.back().end() - 20);
      }
      const Signal out = both.hosted->render(in);
      const int latency = both.hosted->latency();
      EXPECT_EQ(latency, isOn && kind().hidesLatency ? 0 : both.reference.getInitialDelay());
      Signal late = delayed(in, latency);
      // The rendering before sounds on at the begin.
      for (std::size_t c = 0; c < late.size(); ++c)
        std::copy_n(out[c].begin(), 9000, late[c].begin());
      EXPECT_EQ(firstDifference(out, late, kind().hidesLatency ? 0.0 : kRounding).empty(), isOn);
      if (isOn) both.hosted->expectMeters(both.reference);
    }
  }
}

/// But for what moves others, too.
bool movesAlone(int id) { return id != kBandOrder && id != kABBank && id != kBypass; }

/// From inside, by another bank: each value that changes is told once, with what it is.
TEST_P(Hosting, TellsOnceWhatChangesInside) {
  Reference reader;
  const auto hosted = kind().make(HostSetup{});
  hosted->move(busySettings());
  static_cast<void>(hosted->takeTold());
  for (const int bank : {1, 0, 7}) {
    SCOPED_TRACE(bank);
    const std::vector<float> before = reader.valuesOf(hosted->state());
    bank == 7 ? hosted->turn(kABBank, 127) : hosted->move({{kABBank, double(bank)}});
    waitForIdle();
    const std::multimap<int, double> told = hosted->takeTold();
    const std::vector<float> after = reader.valuesOf(hosted->state());
    EXPECT_NE(after[kB1Threshold], before[kB1Threshold]);
    for (int id = 0; id < kNumParams; ++id) {
      SCOPED_TRACE(parameterKeyTable().name(id));
      const auto at = static_cast<std::size_t>(id);
      const auto plain = static_cast<double>(after[at]);
      EXPECT_LE(told.count(id), 1U);
      EXPECT_TRUE(before[at] == after[at] || !movesAlone(id) || told.contains(id));
      EXPECT_TRUE(!told.contains(id) || hosted->means(id, told.find(id)->second, plain));
      EXPECT_TRUE(id == kABBank || hosted->means(id, hosted->shown(id), plain));
    }
    waitForIdle();
    EXPECT_TRUE(hosted->takeTold().empty()) << "the host's answers are no news";
  }
}

/// Moves all parameters of some banks anywhere, and expects that the effect has, and the host
/// shows, what was moved last.
void wander(Hosted& hosted, std::mt19937& random) {
  Reference reader;
  std::uniform_real_distribution<float> anywhere(0.0F, 1.0F);
  for (const int bank : {5, 0, static_cast<int>(random() % 8)}) {
    hosted.move({{kABBank, static_cast<double>(bank)}});
    waitForIdle();
    static_cast<void>(hosted.takeTold());  // which the host follows
    Settings settings;
    for (int id = 0; id < kNumParams; ++id) {
      const auto plain = static_cast<double>(reader.normalisedToPlain(id, anywhere(random)));
      if (movesAlone(id)) settings.push_back({id, plain});
    }
    hosted.move(settings);
    const std::vector<float> values = reader.valuesOf(hosted.state());
    for (const auto& [id, plain] : settings) {
      const auto value = static_cast<double>(values[static_cast<std::size_t>(id)]);
      SCOPED_TRACE(parameterKeyTable().name(id));
      EXPECT_NEAR(value, plain, 1e-4 * std::max(1.0, std::abs(plain)));
      EXPECT_TRUE(hosted.means(id, hosted.shown(id), plain));
    }
  }
}

TEST_P(Hosting, RestoresWhatItStored) {
  std::mt19937 random(11);
  Reference reader;
  const auto source = kind().make(HostSetup{});
  const auto target = kind().make(HostSetup{});
  wander(*target, random);
  // What no order of bands has been moved for is repaired by a restore, and so is an order of none.
  constexpr double kAnotherChain = 0.83652115;  // that these bands may have
  for (const double order : {kAnotherChain, 0.9, 0.0}) {
    SCOPED_TRACE(order);
    const bool isRepaired = order != kAnotherChain;
    if (order == 0.0) {
      wander(*source, random);
      source->turn(kIpTrim, 99);
      waitForIdle();
      static_cast<void>(source->takeTold());
    } else {
      source->move(busySettings());
      source->move({{kBandOrder, order}});
      const auto moved = static_cast<double>(reader.valuesOf(source->state())[kBandOrder]);
      EXPECT_EQ(std::abs(moved - order) > 1e-7, isRepaired);
    }
    const Session session = source->save();
    EXPECT_TRUE(target->restore(session));
    EXPECT_TRUE(!isRepaired || source->restore(session));
    for (Hosted* const each : {source.get(), target.get()}) each->move({});
    waitForIdle();
    const std::string state = target->state();
    for (int bank = -1; bank < 8; ++bank) {
      const std::vector<float> expected = reader.valuesOf(session.parts.at(kStatePart), bank);
      EXPECT_EQ(reader.valuesOf(state, bank), expected) << bank;
      for (int id = 0; bank < 0 && id < kNumParams; ++id) {
        const auto plain = static_cast<double>(expected[static_cast<std::size_t>(id)]);
        EXPECT_TRUE(target->means(id, target->shown(id), plain)) << parameterKeyTable().name(id);
      }
    }
    EXPECT_EQ(target->latency(), source->latency());
    const Signal in = noise(2, 24000);
    EXPECT_EQ(firstDifference(target->render(in), source->render(in), 1e-5), "");
  }
}

/// Refused, with values, banks and sound as they were.
TEST_P(Hosting, DamagedStatesChangeNothing) {
  const auto hosted = kind().make(HostSetup{});
  const auto twin = kind().make(HostSetup{});
  for (Hosted* const each : {hosted.get(), twin.get()}) each->move(busySettings());
  waitForIdle();
  const Session before = hosted->save();
  const auto other = kind().make(HostSetup{});
  other->move({{kOpTrim, -7.0}, {kABBank, 2.0}});
  for (const auto& [name, whole] : other->save().parts) {
    if (name == "ports") continue;  // which count for nothing where they are damaged
    std::vector<std::string> damaged = {"", std::string(whole.size(), '\xff'),
                                        std::string(whole.size(), '\0'), whole.substr(1)};
    if (name == "controls") damaged.push_back(whole + '\1');
    for (std::size_t cut = 0; cut < whole.size(); cut += 1 + whole.size() / 23) {
      damaged.push_back(whole.substr(0, cut));
      damaged.push_back(whole);
      damaged.back()[std::min(cut, std::size_t{7})] ^= 0x55;
    }
    for (const std::string& each : damaged) {
      EXPECT_FALSE(hosted->restore({{{name, each}}, {}})) << name << " of " << each.size();
      const Session after = hosted->save();
      EXPECT_TRUE(after.parts == before.parts && after.shown == before.shown) << each.size();
    }
  }
  EXPECT_TRUE(hosted->takeTold().empty());
  EXPECT_EQ(hosted->latency(), twin->latency());
  const Signal in = noise(2, 12000);
  EXPECT_EQ(firstDifference(hosted->render(in), twin->render(in)), "");
}

/// Bytes of the heap that are in use.
long usedBytes() {
  const auto info = mallinfo2();
  return static_cast<long>(info.uordblks + info.hblkhd);
}

/// Expects that memory has come back to `before`; with the sanitizer, which keeps what is freed and
/// finds leaks by itself, nothing.
void expectNoGrowth([[maybe_unused]] long before, [[maybe_unused]] long most) {
#if !CORVANTHELIS_ADDRESS_SANITIZER
  EXPECT_GT(before, 0);
  EXPECT_LT(usedBytes() - before, most);
#endif
}

TEST_P(Hosting, ManyInstancesPlaySideBySide) {
  constexpr std::array<double, 6> kRates = {22050.0, 44100.0, 48000.0, 88200.0, 96000.0, 192000.0};
  static_cast<void>(kind().make(HostSetup{}));
  const long before = usedBytes();
  std::vector<std::unique_ptr<Hosted>> instances;
  for (std::size_t i = 0; i < 32; ++i) {
    instances.push_back(kind().make({i % 3 == 2 ? 1 : 2, kRates[i % kRates.size()], i % 2 == 0}));
  }
  for (int part = 0; part < 3; ++part) {
    for (std::size_t i = 0; i < instances.size(); ++i) {
      const int channels = i % 3 == 2 ? 1 : 2;
      const int frames = 4 * instances[i]->latency();
      const Signal in = noise(channels, frames, static_cast<unsigned>(i));
      Signal out = instances[i]->render(in);
      for (auto& channel : out) std::fill_n(channel.begin(), instances[i]->latency(), 0.0F);
      EXPECT_EQ(firstDifference(out, delayed(in, instances[i]->latency()), 1e-6), "") << i;
    }
  }
  instances.clear();
  expectNoGrowth(before, 200000);
}

TEST_P(Hosting, LoadsAndUnloadsWithoutALeak) {
  const auto liveOnce = [] {
    {
      const auto hosted = kind().make(HostSetup{});
      hosted->rest(64);
      EXPECT_FALSE(hosted->state().empty());
    }
    kind().unload();
    EXPECT_FALSE(SharedLibrary::isLoaded(copyAlone(kind().library))) << "it stays loaded";
  };
  // Until what the C library keeps has grown to its size.
  for (int round = 0; round < 5; ++round) liveOnce();
  const long before = usedBytes();
  for (int round = 0; round < 20 && !HasFailure(); ++round) liveOnce();
  expectNoGrowth(before, 8000);
}

}  // namespace
