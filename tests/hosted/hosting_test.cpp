#include <gtest/gtest.h>
#include <malloc.h>

#include <cmath>
#include <limits>
#include <random>

#include "core/parameter_table.h"
#include "platform/shared_library.h"
#include "tests/hosted/hosted.h"
#include "tests/support/becomes.h"

namespace {

constexpr double kRounding = 2e-6;  // between filters reached by edits, and at once; other blocks

class Hosting : public testing::TestWithParam<const HostKind*> {
 protected:
  static const HostKind& kind() { return *GetParam(); }
};

INSTANTIATE_TEST_SUITE_P(, Hosting, testing::Values(&kAaxKind, &kLv2Kind),
                         [](const auto& each) { return each.param->name; });

Signal silence(int channels, int frames) {
  return Signal(static_cast<std::size_t>(channels),
                std::vector<float>(static_cast<std::size_t>(frames)));
}

/// The sidechain of a stereo instance that is fed one channel serves both in one kind of host, and
/// the left in the other.
Signal forReference(const HostKind& kind, Signal in, int channels) {
  const bool isShared = kind.mostSideChannels == 1 && channels == 2 && in.size() == 3;
  if (isShared) in.push_back(in[2]);
  return in;
}

/// An instance beside the effect alone, through the same moves.
struct SideBySide {
  SideBySide(const HostKind& hostKind, const HostSetup& setup)
      : kind(hostKind), channels(setup.channels), hosted(kind.make(setup)), reference(setup.rate) {}
  void move(const Settings& settings) {
    hosted->move(settings);
    hosted->settle();
    static_cast<void>(reference.render(silence(channels, Hosted::kLead), channels));
    reference.set(settings);
    // Until what moves smoothly has come: when it began is the business of other threads.
    static_cast<void>(hosted->render(silence(channels, 2 * Hosted::kLead)));
    static_cast<void>(reference.render(silence(channels, 2 * Hosted::kLead), channels));
  }
  void setOffline(bool on) {
    hosted->setOffline(on);
    reference.isOffline = on;
    static_cast<void>(reference.render(silence(channels, 64), channels));
  }
  void restore(const Session& session) {
    EXPECT_TRUE(hosted->restore(session));
    reference.take(session.parts.at(kStatePart));
  }
  Signal play(const Signal& in) {
    Signal out = hosted->render(in);
    EXPECT_EQ(firstDifference(out, reference.render(forReference(kind, in, channels), channels),
                              kRounding),
              "");
    EXPECT_EQ(hosted->latency(), reference.getInitialDelay());
    return out;
  }

  const HostKind& kind;
  const int channels;
  const std::unique_ptr<Hosted> hosted;
  Reference reference;
};

TEST_P(Hosting, SoundsAsTheEffectAlone) {
  const struct {
    const char* name;
    HostSetup setup;
    int sideChannels;
    int source;  ///< 1 own signal, 2 sidechain
    bool offline;
  } rows[] = {
      {"stereo", {2, 48000.0}, 0, 1, false},
      {"mono, in place", {1, 44100.0, false, true}, 0, 1, false},
      {"stereo sidechain", {2, 48000.0, true}, 2, 2, false},
      {"mono sidechain", {2, 96000.0, true}, 1, 2, false},
      {"no sidechain, in place", {2, 22050.0, true, true}, 0, 2, false},
      {"mono with sidechain", {1, 48000.0, true}, 1, 2, false},
      {"high rate", {2, 192000.0}, 0, 1, false},
      {"offline", {2, 48000.0, true}, 1, 2, true},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    const int channels = row.setup.channels;
    if (row.sideChannels > (channels == 2 ? kind().mostSideChannels : kind().monoSideChannels)) {
      continue;
    }
    SideBySide both(kind(), row.setup);
    if (row.offline) both.setOffline(true);
    both.move(busySettings(row.source));
    both.play(noise(channels + row.sideChannels, 24000));
    both.hosted->expectMeters(both.reference);
    const auto& reductions = both.reference.reductions;
    EXPECT_TRUE(channels == 1 || row.source == 2 || reductions[1] - reductions[0] > 0.01);
    both.move({{kB1Threshold, -12.0}, {kIpTrim, 6.0}, {bandParameterId(1, kB1Frequency), 2000.0}});
    Signal odd = noise(channels + row.sideChannels, 12000, 7);
    odd[0][100] = std::numeric_limits<float>::quiet_NaN();
    odd.back()[200] = std::numeric_limits<float>::infinity();
    both.play(odd);
    both.hosted->render(silence(channels, 48000));
    const Signal nothing = silence(channels, 2000);
    EXPECT_EQ(firstDifference(both.hosted->render(nothing), nothing), "");
  }
}

/// Whatever changes the latency is told, in bypass as well, and what does not is not told wrong.
TEST_P(Hosting, TellsItsLatency) {
  const int on = bandParameterId(1, kB1State);
  auto both = std::make_unique<SideBySide>(kind(), HostSetup{});
  bool isHidden = false;
  const auto told = [&](const char* action) {
    const int expected = isHidden ? 0 : both->reference.getInitialDelay();
    EXPECT_TRUE(becomes([&] { return both->hosted->latency() == expected; }))
        << action << ": " << both->hosted->latency() << " instead of " << expected;
    return both->reference.getInitialDelay();
  };
  const auto moved = [&](const char* action, const Settings& settings) {
    both->move(settings);
    return told(action);
  };
  const auto restored = [&](const char* action, const Session& session) {
    both->restore(session);
    return told(action);
  };
  const int first = told("start");
  const Session plain = both->hosted->save();
  const int ahead = moved("lookahead", {{kB1Lookahead, 20.0}});
  const int longest = moved("a band", {{on, 1.0}, {bandParameterId(1, kB1Type), 1.0}});
  const int sampled = moved("oversampling", {{kOversample, 2.0}, {kOversampleOL, 1.0}});
  EXPECT_TRUE(first < ahead && ahead < longest && longest < sampled);
  const Session late = both->hosted->save();
  EXPECT_EQ(moved("another bank", {{kABBank, 1.0}}), first);
  EXPECT_EQ(moved("the bank again", {{kABBank, 0.0}}), sampled);
  EXPECT_EQ(restored("a restored state", plain), first);
  EXPECT_EQ(restored("a restored longer one", late), sampled);
  for (const bool isOffline : {true, false}) {
    both->setOffline(isOffline);
    EXPECT_EQ(told("offline and back") == sampled, !isOffline);
  }
  Session effectAlone = plain;  // the controls tell of the bypass
  effectAlone.parts.erase("controls");
  both->hosted->setBypass(true);
  isHidden = kind().hidesLatency;
  told("bypass");
  moved("a move in bypass", {{on, 0.0}});
  restored("a state restored in bypass", effectAlone);
  isHidden = false;
  both->hosted->setBypass(false);
  told("bypass let go");
  for (const double rate : {22050.0, 192000.0}) {
    both = std::make_unique<SideBySide>(kind(), HostSetup{2, rate});
    const int fresh = told("another rate");
    EXPECT_LT(fresh, restored("a state of another rate", late));
  }
}

TEST_P(Hosting, BypassPassesTheInputAsLateAsTold) {
  for (const int channels : {1, 2}) {
    SCOPED_TRACE(channels);
    SideBySide both(kind(), HostSetup{channels});
    both.move(busySettings());
    const Signal in = noise(channels, 48000, 3);
    EXPECT_NE(firstDifference(both.play(in), delayed(in, both.hosted->latency()), 0.01), "");
    for (const bool isOn : {true, false, true}) {
      both.hosted->setBypass(isOn);
      static_cast<void>(both.hosted->render(in));
      const Signal out = both.hosted->render(in);
      const int latency = both.hosted->latency();
      EXPECT_EQ(latency, isOn && kind().hidesLatency ? 0 : both.reference.getInitialDelay());
      const Signal late = delayed(in, latency);
      const auto tail = [](const Signal& signal) {
        Signal end;
        for (const auto& channel : signal) end.emplace_back(channel.end() - 9000, channel.end());
        return end;
      };
      EXPECT_EQ(firstDifference(tail(out), tail(late), kRounding).empty(), isOn);
    }
  }
}

/// A value that a host may bring for a parameter.
double anyValue(int id, std::mt19937& random) {
  const ParameterRecord& record = kParameterTable[static_cast<std::size_t>(id)];
  const auto low = static_cast<double>(record.min);
  const double range = static_cast<double>(record.max) - low;
  const double share = std::uniform_real_distribution<double>(0.0, 1.0)(random);
  switch (record.curve) {
    case kCurveWhole:
      return low + std::floor(share * (range + 0.999));
    case kCurveMultipleOf6:
      return low + 6.0 * std::floor(share * (range / 6.0 + 0.999));
    case kCurveSwitch:
      return share < 0.5 ? 0.0 : 1.0;
    default:
      return static_cast<double>(static_cast<float>(low + share * range));
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
    if (bank == 7) {
      hosted->turn(controllerOf(kABBank), 127);
    } else {
      hosted->move({{kABBank, static_cast<double>(bank)}});
    }
    waitForIdle();
    const std::vector<Told> told = hosted->takeTold();
    const std::vector<float> after = reader.valuesOf(hosted->state());
    EXPECT_NE(after[kB1Threshold], before[kB1Threshold]);
    std::map<int, int> counts;
    for (const auto& [id, value] : told) {
      const auto plain = static_cast<double>(after[static_cast<std::size_t>(id)]);
      EXPECT_TRUE(hosted->means(id, value, plain)) << parameterKeyTable().name(id) << ' ' << value;
      EXPECT_EQ(++counts[id], 1) << parameterKeyTable().name(id);
    }
    for (int id = 0; id < kNumParams; ++id) {
      const auto at = static_cast<std::size_t>(id);
      if (before[at] != after[at] && movesAlone(id)) {
        EXPECT_EQ(counts[id], 1) << id;
      }
      EXPECT_TRUE(id == kABBank ||
                  hosted->means(id, hosted->shown(id), static_cast<double>(after[at])))
          << parameterKeyTable().name(id);
    }
    waitForIdle();
    EXPECT_TRUE(hosted->takeTold().empty()) << "the host's answers are no news";
  }
}

TEST_P(Hosting, ControllersMoveParameters) {
  Reference reader;
  const auto hosted = kind().make(HostSetup{});
  const struct {
    int id, position;
    double plain;
  } rows[] = {{kIpTrim, 127, 24.0},     {kIpTrim, 0, -24.0}, {kOpTrim, 127, 24.0},
              {kB1Threshold, 0, -48.0}, {kBypass, 127, 1.0}, {kBypass, 0, 0.0}};
  for (const auto& [id, position, plain] : rows) {
    hosted->turn(controllerOf(id), position);
    const auto value = reader.valuesOf(hosted->state())[static_cast<std::size_t>(id)];
    EXPECT_NEAR(static_cast<double>(value), plain, 1e-4) << parameterKeyTable().name(id);
    hosted->turn(3, 64);  // moves nothing
    EXPECT_EQ(reader.valuesOf(hosted->state())[static_cast<std::size_t>(id)], value);
  }
}

/// Moves all parameters of some banks anywhere, and expects that the effect has, and the host
/// shows, what was moved last.
void wander(Hosted& hosted, std::mt19937& random) {
  Reference reader;
  for (const int bank : {5, 0, static_cast<int>(random() % 8)}) {
    hosted.move({{kABBank, static_cast<double>(bank)}});
    waitForIdle();
    static_cast<void>(hosted.takeTold());  // which the host follows
    Settings settings;
    for (int id = 0; id < kNumParams; ++id) {
      if (movesAlone(id)) settings.push_back({id, anyValue(id, random)});
    }
    hosted.move(settings);
    const std::vector<float> values = reader.valuesOf(hosted.state());
    for (const auto& [id, plain] : settings) {
      const auto value = static_cast<double>(values[static_cast<std::size_t>(id)]);
      EXPECT_NEAR(value, plain, 1e-4 * std::max(1.0, std::abs(plain)))
          << parameterKeyTable().name(id);
      EXPECT_TRUE(hosted.means(id, hosted.shown(id), plain)) << parameterKeyTable().name(id);
    }
  }
}

TEST_P(Hosting, RestoresWhatItStored) {
  std::mt19937 random(11);
  Reference reader;
  const auto source = kind().make(HostSetup{});
  const auto target = kind().make(HostSetup{});
  wander(*target, random);
  for (const bool hasWandered : {false, true}) {
    SCOPED_TRACE(hasWandered);
    if (hasWandered) {
      wander(*source, random);
      source->turn(controllerOf(kIpTrim), 99);
      waitForIdle();
      static_cast<void>(source->takeTold());
    } else {
      source->move(busySettings());
    }
    const Session session = source->save();
    EXPECT_TRUE(target->restore(session));
    // What no order of bands has been moved for is repaired by a restore.
    EXPECT_TRUE(!hasWandered || source->restore(session));
    for (Hosted* const each : {source.get(), target.get()}) each->move({});
    waitForIdle();
    const std::string state = target->state();
    for (int bank = -1; bank < 8; ++bank) {
      const std::vector<float> expected = reader.valuesOf(session.parts.at(kStatePart), bank);
      EXPECT_EQ(reader.valuesOf(state, bank), expected) << bank;
      for (int id = 0; bank < 0 && id < kNumParams; ++id) {
        const auto plain = static_cast<double>(expected[static_cast<std::size_t>(id)]);
        EXPECT_TRUE(id == kBandOrder || target->means(id, target->shown(id), plain)) << id;
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
#ifndef __SANITIZE_ADDRESS__
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
  const long most = usedBytes() - before;
  while (instances.size() > 2) instances.pop_back();
  expectNoGrowth(before, most / 4);
  instances.clear();
  expectNoGrowth(before, 200000);
}

TEST_P(Hosting, LoadsAndUnloadsWithoutALeak) {
  const auto liveOnce = [] {
    {
      const auto hosted = kind().make(HostSetup{});
      hosted->render(silence(2, 64));
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
