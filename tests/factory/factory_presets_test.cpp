// The factory content as the build left it: it loads as it was written, and what it does to music,
// talk and single notes is what its lines say.

#include <gtest/gtest.h>

#include <filesystem>
#include <numeric>
#include <set>

#include "analysis/fft.h"
#include "apps/effect/effect_runner.h"
#include "apps/presets/preset_source.h"
#include "apps/render/loudness.h"
#include "platform/clock.h"
#include "state/chunk_codec.h"
#include "state/json_document.h"
#include "state/machine.h"
#include "tests/factory/sounds.h"
#include "tests/support/data_rows.h"
#include "tests/support/test_directory.h"

namespace {

namespace fs = std::filesystem;

const fs::path kSources = CORVANTHELIS_PRESET_SOURCES;
const fs::path kContent = CORVANTHELIS_FACTORY_CONTENT;
const fs::path kBank = kContent / "Factory Bank.CorvanthelisBank";
constexpr int kRunBlock = 480;  // frames: 10 ms
constexpr std::size_t kFrame = 2048;
constexpr std::size_t kHop = 512;
constexpr std::size_t kFrames = (kSoundSeconds * kSoundRate - kFrame) / kHop + 1;

/// A measure with its range, and where it is taken: a part of a stereo signal between two
/// frequencies, in all frames of some time or in the tenth that was loudest or quietest there
/// before.
struct Claim {
  DataRow row, place;
};

/// All that claims ask of a signal.
struct Heard {
  explicit Heard(const Signal& signal) {
    FftTables tables;
    tables.prepare(kFrame);
    std::vector<double> pairs(2 * kFrame);
    for (std::size_t run = 0; run < 2 * kFrames; ++run) {
      const double sign = run % 2 == 0 ? 1.0 : -1.0;
      for (std::size_t i = 0; i < kFrame; ++i) {
        const double turn = 2.0 * std::numbers::pi * static_cast<double>(i) / kFrame;
        const double* const at = signal.data() + 2 * (run / 2 * kHop + i);
        pairs[2 * i] = (0.5 - 0.5 * std::cos(turn)) * (at[0] + sign * at[1]);
        pairs[2 * i + 1] = 0.0;
      }
      complexForward(kFrame, pairs.data(), tables);
      below[run % 2].push_back(0.0);
      for (std::size_t k = 0; k < kFrame; k += 2) {
        const double power = pairs[k] * pairs[k] + pairs[k + 1] * pairs[k + 1];
        below[run % 2].push_back(below[run % 2].back() + power);
      }
    }
    const double peak =
        std::abs(std::ranges::max(signal, {}, [](double x) { return std::abs(x); }));
    const double energy = std::inner_product(signal.begin(), signal.end(), signal.begin(), 0.0);
    crest = 10.0 * std::log10(peak * peak * static_cast<double>(signal.size()) / energy);
    Loudness meter(kSoundRate, 2);
    meter.add(signal.data(), static_cast<int>(signal.size() / 2));
    loudness = meter.result();
  }

  [[nodiscard]] double power(std::size_t frame, const Claim& claim) const {
    const auto binOf = [frame](const std::string& hertz) {
      const double bin = std::stod(hertz) / kSoundRate * static_cast<double>(kFrame);
      return frame * (kFrame / 2 + 1) + static_cast<std::size_t>(std::lround(bin));
    };
    const std::size_t from = binOf(claim.row[4]), to = binOf(claim.row[5]);
    return (claim.place[2] == "side" ? 0.0 : below[0][to] - below[0][from]) +
           (claim.place[2] == "mid" ? 0.0 : below[1][to] - below[1][from]);
  }
  /// How much louder, in dB, a region is than it was `before`.
  [[nodiscard]] double change(const Heard& before, const Claim& claim) const {
    std::vector<std::size_t> chosen;
    for (std::size_t frame = 0; frame < kFrames; ++frame) {
      const double seconds = (static_cast<double>(frame * kHop) + 0.5 * kFrame) / kSoundRate;
      const bool isWithin = seconds >= std::stod(claim.place[4]);
      if (isWithin && seconds < std::stod(claim.place[5])) chosen.push_back(frame);
    }
    std::ranges::sort(chosen, {}, [&](std::size_t frame) { return before.power(frame, claim); });
    const auto others = static_cast<std::ptrdiff_t>(chosen.size() - chosen.size() / 10);
    if (claim.place[3] == "quietest") chosen.erase(chosen.end() - others, chosen.end());
    if (claim.place[3] == "loudest") chosen.erase(chosen.begin(), chosen.begin() + others);
    double powerBefore = 1e-30, powerAfter = 1e-30;  // keeps silence finite
    for (const std::size_t frame : chosen) {
      powerBefore += before.power(frame, claim);
      powerAfter += power(frame, claim);
    }
    return 10.0 * std::log10(powerAfter / powerBefore);
  }

  Loudness::Result loudness;
  double crest = 0.0;  ///< dB of the largest sample over the root mean square
  std::array<std::optional<GainRange>, kNumBands> gains;
  // For each frame of 43 ms every 11 ms the power below each bin, of mid and side.
  std::array<Signal, 2> below;
};

/// A signal of some channels with a frame between each two, if `factor` is 2.
Signal atRate(std::size_t factor, const Signal& signal, std::size_t channels) {
  Signal result(factor * signal.size());
  for (std::size_t i = 0; i < result.size(); ++i) {
    const std::size_t at = i / (factor * channels) * channels + i % channels;
    const bool isBetween = factor == 2 && i / channels % 2 == 0 && at >= channels;
    result[i] = isBetween ? 0.5 * (signal[at] + signal[at - channels]) : signal[at];
  }
  return result;
}

/// Runs a sound through an effect at 1 or 2 times its rate.
Heard heardThrough(const EffectState& state, const Sound& sound, std::size_t factor) {
  const int rate = static_cast<int>(factor) * kSoundRate;
  EffectRunner runner({state, kRunBlock, true, true}, rate, 2, sound.key.empty() ? 0 : 1);
  Signal main = atRate(factor, sound.main, 2);
  Signal key = atRate(factor, sound.key, 1);
  // With silence behind it, so that the delay lets all of it out.
  const auto latency = static_cast<std::size_t>(runner.latency());
  const std::size_t frames = (main.size() / 2 + latency) / kRunBlock * kRunBlock + kRunBlock;
  main.resize(2 * frames);
  key.resize(frames);
  Signal out(2 * frames);
  for (std::size_t at = 0; at < frames; at += kRunBlock) {
    runner.process(main.data() + 2 * at, key.data() + at, kRunBlock, out.data() + 2 * at);
  }
  for (std::size_t i = 0; i < sound.main.size(); ++i) {
    out[i] = out[2 * (latency + factor * (i / 2 + 1) - 1) + i % 2];
  }
  out.resize(sound.main.size());
  Heard heard(out);
  heard.gains = runner.gains();
  return heard;
}

/// What a preset is expected to do to a sound.
struct PresetClaims {
  std::string preset;  // folder and file, or "Factory Bank/" and a letter
  std::string sound;
  std::vector<Claim> claims;
};

std::vector<PresetClaims> presetClaims() {
  std::vector<PresetClaims> all;
  std::map<std::string, DataRow> places;
  for (const DataRow& row : dataRows(TEST_DATA "/claims.txt")) {
    if (row[0] == "place") {
      places[row[1]] = row;
    } else if (row[0] == "hear") {
      all.push_back({row[1], row[2], {}});
    } else {
      all.back().claims.push_back({row, places[row[3]]});
    }
  }
  return all;
}

double measured(const Claim& claim, const Heard& before, const Heard& after) {
  if (claim.row[0] == "level") return after.change(before, claim);
  const auto band = claim.row[3].empty() ? 0 : std::stoul(claim.row[3]) - 1;
  const GainRange gain = after.gains.at(band).value_or(GainRange{});
  const std::map<std::string, double> measures = {
      {"crest", after.crest - before.crest},
      {"loudnessAfter", after.loudness.integratedLufs},
      {"loudness", after.loudness.integratedLufs - before.loudness.integratedLufs},
      {"truePeakAfter", after.loudness.truePeakDb},
      {"truePeak", after.loudness.truePeakDb - before.loudness.truePeakDb},
      {"reduction", gain.lowest},
      {"boost", gain.highest}};
  return measures.at(claim.row[0]);
}

bool holds(const Claim& claim, const Heard& before, const Heard& after) {
  const double value = measured(claim, before, after);
  return value >= std::stod(claim.row[1]) && value <= std::stod(claim.row[2]);
}

/// An instance on a machine of its own.
struct FactoryPlug {
  void load(const fs::path& path, bool isPreset) {
    const std::string bytes = readBytes(path);
    plug.setChunk(bytes.data(), static_cast<std::int32_t>(bytes.size()), isPreset);
    EXPECT_FALSE(bytes.empty() || plug.chunkRefused()) << path;
  }
  void expectSameAs(FactoryPlug& other) {
    for (std::int32_t id = 0; id < kNumParams; ++id) {
      EXPECT_EQ(plug.getParameter(id), other.plug.getParameter(id)) << parameterIdentifier(id);
    }
  }

  Machine machine{std::make_unique<MemoryStore>(), {}};
  Plug plug{nullptr, Plug::Idle::kCaller, &monotonicMilliseconds, machine};
};

/// 1 to 7 of an entry of the bank in the claims, 0 of a preset.
int bankOf(const std::string& name) {
  return name.starts_with("Factory Bank/") ? name.back() - 'A' : 0;
}

std::vector<PresetSource> bankSources() { return readBankSource(kSources / "Factory Bank.json"); }

/// A preset's source, or an entry's of the bank, by its name in the claims.
PresetSource sourceOf(const std::string& name) {
  const auto bank = static_cast<std::size_t>(bankOf(name));
  return bank > 0 ? bankSources().at(bank) : readPresetSource(kSources / (name + ".json"));
}

/// Hears a row with the effect at `factor` times the sound's rate.
void expectClaims(const PresetClaims& row, const Sound& sound, const Heard& before,
                  std::size_t factor) {
  SCOPED_TRACE(testing::Message() << row.preset << " at " << factor * kSoundRate << " Hz");
  const int bank = bankOf(row.preset);
  const fs::path preset = kContent / "Presets" / (row.preset + ".CorvanthelisPreset");
  FactoryPlug loaded;
  FactoryPlug written;
  loaded.load(bank > 0 ? kBank : preset, bank == 0);
  for (FactoryPlug* const each : {&loaded, &written}) each->plug.switchBank(bank);
  loaded.plug.resume();
  loaded.plug.onIdle();
  applyPreset(written.plug, sourceOf(row.preset));
  loaded.expectSameAs(written);
  for (int band = 0; band < kNumBands; ++band) {
    EXPECT_EQ(chainFault(loaded.plug, band).value_or(""), "");
  }
  void* chunk = nullptr;
  const auto size = static_cast<std::size_t>(loaded.plug.getChunk(&chunk, true));
  const auto text = unpackChunk({static_cast<const char*>(chunk), size});
  const EffectState state{{{StateFile::Role::kPreset, row.preset, text.value_or("")}}, {}};
  const Heard after = heardThrough(state, sound, factor);
  for (const Claim& claim : row.claims) {
    EXPECT_TRUE(holds(claim, before, after))
        << testing::PrintToString(claim.row) << measured(claim, before, after);
  }
}

/// A folder of presets.
class FactoryPresets : public testing::TestWithParam<const char*> {};

TEST_P(FactoryPresets, doWhatTheirLinesSay) {
  std::map<std::string, std::pair<Sound, Heard>> sounds;
  for (const PresetClaims& row : presetClaims()) {
    if (!row.preset.starts_with(GetParam())) continue;
    if (!sounds.contains(row.sound)) {
      Sound sound = soundNamed(row.sound, CORVANTHELIS_DEMO);
      sounds.emplace(row.sound, std::pair(sound, Heard(sound.main)));
    }
    const auto& [sound, before] = sounds.at(row.sound);
    // Otherwise claims would not be about the preset.
    EXPECT_FALSE(std::ranges::all_of(row.claims, [&before = before](const auto& claim) {
      return holds(claim, before, before);
    })) << row.preset;
    expectClaims(row, sound, before, 1);
    // Filters are coarser at 96 kHz: what low bands do has to hold there, too.
    const PresetSource source = sourceOf(row.preset);
    if (std::ranges::any_of(source.values, [](const Setting& setting) {
          return isBandParameter(setting.parameter) && setting.value < 250.0F &&
                 bandOneIdOf(setting.parameter) == kB1Frequency;
        })) {
      expectClaims(row, sound, before, 2);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(All, FactoryPresets,
                         testing::Values("01", "02", "03", "04", "05", "06", "07", "08", "09", "10",
                                         "Factory Bank"));

// A preset that carried the editor's part would resize the user's window.
TEST(FactoryContent, isClaimedAndListedAndHoldsParametersNameAndVersionAlone) {
  std::set<std::string> claimed;
  for (const PresetClaims& row : presetClaims()) claimed.insert(row.preset);
  const std::string readme = readBytes(kSources / "../../README.md");
  const auto expectListed = [&](const std::string& place, const PresetSource& source) {
    const auto row = "| " + place + " | " + source.name + " | " + source.description + " |\n";
    EXPECT_NE(readme.find(row), std::string::npos) << row;
  };
  for (const auto& entry : fs::recursive_directory_iterator(kContent / "Presets")) {
    if (!entry.is_regular_file()) continue;
    const fs::path name = fs::relative(entry.path(), kContent / "Presets").replace_extension();
    EXPECT_EQ(claimed.erase(name), 1U) << name;
    expectListed(name.parent_path().string(), sourceOf(name.string()));
    const JsonTree tree(jsonParse(unpackChunk(readBytes(entry.path())).value_or("").c_str()));
    std::map<std::string, const char*> texts;
    for (const JsonNode* item = tree->child; item != nullptr; item = item->next) {
      texts[item->key] = item->valueString;
    }
    ASSERT_TRUE(texts.size() == 3 && texts.contains("parameters") && texts.contains("v101"))
        << name;
    EXPECT_EQ(texts.at("name"), name.filename());
  }
  EXPECT_EQ(claimed.size(), PlugBase::kNumBanks - 1U);
  char letter = 'A';
  for (const PresetSource& entry : bankSources()) expectListed(std::string(1, letter++), entry);
}

TEST(FactoryContent, beginsNeutral) {
  FactoryPlug untouched;
  FactoryPlug loaded;
  loaded.load(kBank, false);
  loaded.expectSameAs(untouched);
  for (const int bank : {1, 0}) loaded.plug.switchBank(bank);
  loaded.expectSameAs(untouched);
  std::string band;
  untouched.plug.saveBand(band, 0);
  EXPECT_EQ(readBytes(kContent / "Factory Band.cvb"), band + '\0');
}

}  // namespace
