// The factory content as the build left it: it loads as it was written, and what it does to music,
// talk and single notes is what its lines say.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <numeric>
#include <set>
#include <string>
#include <vector>

#include "apps/chain_fault.h"
#include "apps/preset_source.h"
#include "core/parameter_table.h"
#include "platform/clock.h"
#include "state/chunk_codec.h"
#include "state/json_document.h"
#include "state/machine.h"
#include "tests/factory/claims.h"
#include "tests/factory/outcome.h"

namespace {

namespace fs = std::filesystem;

const fs::path kSources = CORVANTHELIS_PRESET_SOURCES;
const fs::path kContent = CORVANTHELIS_FACTORY_CONTENT;

std::string bytesOf(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  EXPECT_TRUE(in) << path;
  return {std::istreambuf_iterator<char>(in), {}};
}

/// An instance on a machine of its own.
class FactoryPlug {
 public:
  explicit FactoryPlug(int rate = kMaterialRate) {
    plug.setSampleRate(static_cast<float>(rate));
    plug.setBlockSize(kRunBlock);
  }
  Plug& operator*() noexcept { return plug; }
  Plug* operator->() noexcept { return &plug; }
  void load(const fs::path& path, bool isPreset) {
    const std::string bytes = bytesOf(path);
    plug.setChunk(bytes.data(), static_cast<std::int32_t>(bytes.size()), isPreset);
    EXPECT_FALSE(plug.chunkRefused()) << path;
  }

 private:
  Machine machine{std::make_unique<MemoryStore>(), {}};
  Plug plug{nullptr, Plug::Idle::kCaller, &monotonicMilliseconds, machine};
};

/// A preset's source, or an entry's of the bank, by its name in the table of claims.
PresetSource sourceOf(const std::string& name) {
  const fs::path path = kSources / (name + ".json");
  if (path.parent_path().filename() != "Factory Bank") return readPresetSource(path.string());
  const auto entry = static_cast<std::size_t>(name.back() - 'A');
  return readBankSource((kSources / "Factory Bank.json").string()).at(entry);
}

void loadBuilt(FactoryPlug& plug, const std::string& name) {
  if (name.starts_with("Factory Bank/")) {
    plug.load(kContent / "Factory Bank.CorvanthelisBank", false);
    plug->switchBank(name.back() - 'A');
  } else {
    plug.load(kContent / "Presets" / (name + ".CorvanthelisPreset"), true);
  }
  plug->resume();
  plug->onIdle();
}

void expectLoadedAsWritten(Plug& plug, const PresetSource& source) {
  std::map<std::int32_t, float> written;
  for (const Setting& setting : source.values) written[setting.parameter] = setting.value;
  for (std::int32_t id = 0; id < kNumParams; ++id) {
    const bool isOfChain =
        id == kBandOrder || id == kABBank ||
        (isBandParameter(id) && (bandOneIdOf(id) == kB1State || bandOneIdOf(id) == kB1Type));
    if (isOfChain) continue;
    const auto setting = written.find(id);
    const float expected = setting != written.end()
                               ? setting->second
                               : kParameterTable[static_cast<std::size_t>(id)].value;
    EXPECT_NEAR(plug.getPlainValue(id), expected, 1e-4 * std::max(1.0F, std::abs(expected)))
        << parameterIdentifier(id);
  }
  for (int band = 0; band < kNumBands; ++band) {
    EXPECT_EQ(chainFault(plug, band).value_or(""), "");
  }
  BandLayout& layout = plug.getEngine().layout;
  EXPECT_EQ(layout.copyOf(layout.pre), source.chain->pre);
  EXPECT_EQ(layout.copyOf(layout.xover), source.chain->crossover);
  EXPECT_EQ(layout.copyOf(layout.post), source.chain->post);
}

/// Samples by which `out` comes late against `in`, by their likeness in the middle second.
int delayBetween(const Material::Channels& in, const Material::Channels& out) {
  constexpr std::ptrdiff_t kReach = 24;
  constexpr std::ptrdiff_t kFrom = 5 * kMaterialRate;
  const auto likeness = [&](std::ptrdiff_t lag) {
    const auto first = in[0].begin() + kFrom;
    return std::inner_product(first, first + kMaterialRate, out[0].begin() + kFrom + lag, 0.0);
  };
  std::ptrdiff_t best = -kReach;
  for (std::ptrdiff_t lag = -kReach; lag <= kReach; ++lag) {
    if (likeness(lag) > likeness(best)) best = lag;
  }
  return static_cast<int>(best);
}

/// What is played to the presets, each with what can be said of it, made when first asked for.
class Sounds {
 public:
  struct Entry {
    Material material;
    Outcome outcome;
  };
  const Entry& operator[](Sound sound) {
    auto found = entries.find(sound);
    if (found == entries.end()) {
      constexpr std::array kMakers = {demoMaterial,    keyedMaterial,  talkMaterial,
                                      guitarMaterial,  bassMaterial,   drumMaterial,
                                      clippedMaterial, lowToneMaterial};
      Material material = kMakers.at(static_cast<std::size_t>(sound))();
      PresetRun asItIs;
      asItIs.out = material.main;
      found = entries.emplace(sound, Entry{std::move(material), Outcome(asItIs)}).first;
    }
    return found->second;
  }

 private:
  std::map<Sound, Entry> entries;
};

bool holds(const Claim& claim, const Outcome& before, const Outcome& after) {
  const double value = measured(claim, before, after);
  return value >= claim.low && value <= claim.high;
}

/// What comes out when all bands are bypassed: the trim alone.
Outcome trimmed(const Material& material, const PresetSource& source) {
  const auto trim = std::ranges::find(source.values, kOpTrim, &Setting::parameter);
  const double trimDb = trim != source.values.end() ? static_cast<double>(trim->value) : 0.0;
  PresetRun run;
  run.out = material.main;
  for (auto& channel : run.out) {
    for (double& x : channel) x *= std::pow(10.0, 0.05 * trimDb);
  }
  return Outcome(run);
}

/// With what holds unless a row says otherwise: no louder or quieter by 1 LU, no higher peaks.
std::vector<Claim> allClaimsOf(const PresetClaims& row, const Outcome& before) {
  constexpr double kMostTruePeakGain = 0.5;  // dB
  std::vector<Claim> claims = row.claims;
  const auto says = [&](Measure measure) {
    return std::ranges::find(row.claims, measure, &Claim::measure) != row.claims.end();
  };
  if (!says(Measure::kLoudness) && !says(Measure::kLoudnessAfter)) {
    claims.push_back({Measure::kLoudness, -1.0, 1.0});
  }
  if (!says(Measure::kTruePeakAfter)) {
    claims.push_back(
        {Measure::kTruePeakAfter, -200.0, before.loudness.truePeakDb + kMostTruePeakGain});
  }
  return claims;
}

/// Checks a row with the effect at `factor` times the material's rate.
void expectDoesWhatItsLineSays(const PresetClaims& row, const Sounds::Entry& sound, int factor) {
  SCOPED_TRACE(testing::Message() << row.preset << " at " << factor * kMaterialRate << " Hz");
  FactoryPlug plug(factor * kMaterialRate);
  loadBuilt(plug, row.preset);
  expectLoadedAsWritten(*plug, sourceOf(row.preset));
  PresetRun run = runThrough(*plug, factor == 1 ? sound.material : atTwiceTheRate(sound.material));
  if (factor == 2) keepEverySecond(run);
  for (const auto& channel : run.out) {
    EXPECT_TRUE(std::ranges::all_of(channel, [](double x) { return std::isfinite(x); }));
  }
  EXPECT_NEAR(delayBetween(sound.material.main, run.out), 0, 1);
  const Outcome after(run);
  const std::vector<Claim> claims = allClaimsOf(row, sound.outcome);
  for (std::size_t i = 0; i < claims.size(); ++i) {
    EXPECT_TRUE(holds(claims[i], sound.outcome, after))
        << "claim " << i + 1 << ": " << measured(claims[i], sound.outcome, after)
        << " is not within " << claims[i].low << " and " << claims[i].high;
  }
}

/// Filters are coarser at 96 kHz: what low bands do has to hold there, too.
bool hasLowBands(const PresetSource& source) {
  constexpr float kLow = 250.0F;  // Hz
  return std::ranges::any_of(source.values, [](const Setting& setting) {
    return isBandParameter(setting.parameter) && setting.value < kLow &&
           bandOneIdOf(setting.parameter) == kB1Frequency;
  });
}

TEST(FactoryPresets, doWhatTheirLinesSay) {
  Sounds sounds;
  for (const PresetClaims& row : presetClaims()) {
    expectDoesWhatItsLineSays(row, sounds[row.sound], 1);
    if (hasLowBands(sourceOf(row.preset))) expectDoesWhatItsLineSays(row, sounds[row.sound], 2);
  }
}

// Otherwise a claim would not be about the preset.
TEST(FactoryPresets, noneOfTheirClaimsAllHoldOfUntouchedSound) {
  Sounds sounds;
  for (const PresetClaims& row : presetClaims()) {
    const Sounds::Entry& sound = sounds[row.sound];
    const Outcome untouched = trimmed(sound.material, sourceOf(row.preset));
    EXPECT_FALSE(std::ranges::all_of(row.claims, [&](const Claim& claim) {
      return holds(claim, sound.outcome, untouched);
    })) << row.preset;
  }
}

TEST(FactoryPresets, areAllClaimedAndAllInTheReadme) {
  std::set<std::string> claimed;
  for (const PresetClaims& row : presetClaims()) claimed.insert(row.preset);
  std::string readme = bytesOf(kSources / "../../README.md");
  std::size_t presets = 0;
  for (const auto& entry : fs::recursive_directory_iterator(kContent / "Presets")) {
    if (!entry.is_regular_file()) continue;
    fs::path name = fs::relative(entry.path(), kContent / "Presets").replace_extension();
    EXPECT_TRUE(claimed.contains(name.string())) << name;
    const PresetSource source = sourceOf(name.string());
    const std::string line = "| " + name.parent_path().string() + " | " + source.name + " | " +
                             source.description + " |\n";
    EXPECT_NE(readme.find(line), std::string::npos) << line;
    ++presets;
  }
  EXPECT_EQ(presets + PlugBase::kNumBanks - 1, claimed.size());
  char letter = 'A';
  for (const auto& entry : readBankSource((kSources / "Factory Bank.json").string())) {
    const std::string line =
        std::string("| ") + letter++ + " | " + entry.name + " | " + entry.description + " |\n";
    EXPECT_NE(readme.find(line), std::string::npos) << line;
  }
}

// A preset that carried the editor's part would resize the user's window.
TEST(FactoryPresets, holdParametersNameAndVersionAlone) {
  for (const auto& entry : fs::recursive_directory_iterator(kContent / "Presets")) {
    if (!entry.is_regular_file()) continue;
    SCOPED_TRACE(entry.path());
    const auto text = unpackChunk(bytesOf(entry.path()));
    ASSERT_TRUE(text);
    const JsonTree tree(jsonParse(text->c_str()));
    ASSERT_EQ(jsonGetArraySize(tree.get()), 3);
    EXPECT_NE(jsonGetObjectItem(tree.get(), "parameters"), nullptr);
    EXPECT_NE(jsonGetObjectItem(tree.get(), "v101"), nullptr);
    const JsonNode* const name = jsonGetObjectItem(tree.get(), "name");
    ASSERT_NE(name, nullptr);
    EXPECT_EQ(std::string(name->valueString), entry.path().stem().string());
  }
}

TEST(FactoryBank, beginsNeutralInEveryParameter) {
  FactoryPlug untouched;
  FactoryPlug loaded;
  loaded.load(kContent / "Factory Bank.CorvanthelisBank", false);
  for (std::int32_t id = 0; id < kNumParams; ++id) {
    EXPECT_EQ(loaded->getParameter(id), untouched->getParameter(id)) << parameterIdentifier(id);
  }
  const auto text = unpackChunk(bytesOf(kContent / "Factory Bank.CorvanthelisBank"));
  ASSERT_TRUE(text);
  const JsonTree tree(jsonParse(text->c_str()));
  const JsonNode* const banks = jsonGetObjectItem(tree.get(), "ab");
  ASSERT_EQ(jsonGetArraySize(banks), PlugBase::kNumBanks);
  const JsonNode* const first = jsonGetObjectItem(jsonGetArrayItem(banks, 0), "parameters");
  EXPECT_EQ(std::string(first->valueString), "default");
}

TEST(FactoryBand, holdsAllRowsOfABandAtTheirDefaults) {
  const std::string bytes = bytesOf(kContent / "Factory Band.cvb");
  ASSERT_FALSE(bytes.empty());
  EXPECT_EQ(bytes.find('\0'), bytes.size() - 1);
  const JsonTree tree(jsonParse(bytes.c_str()));
  const JsonNode* const params = jsonGetObjectItem(tree.get(), "params");
  ASSERT_EQ(jsonGetArraySize(params), 45);
  for (const JsonNode* member = params->child; member != nullptr; member = member->next) {
    const std::int32_t id = parameterKeyTable().find(member->key);
    ASSERT_TRUE(isBandParameter(id)) << member->key;
    EXPECT_EQ(static_cast<float>(member->valueDouble),
              kParameterTable[static_cast<std::size_t>(id)].value)
        << member->key;
  }
}

}  // namespace
