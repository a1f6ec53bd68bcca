// The factory content as the build left it: it loads as it was written, and what it does to music,
// talk and single notes is what its lines say.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
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
#include "tests/factory/preset_run.h"

namespace {

namespace fs = std::filesystem;

const fs::path kSources = CORVANTHELIS_PRESET_SOURCES;
const fs::path kContent = CORVANTHELIS_FACTORY_CONTENT;
const fs::path kBank = kContent / "Factory Bank.CorvanthelisBank";

std::string bytesOf(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  EXPECT_TRUE(in) << path;
  return {std::istreambuf_iterator<char>(in), {}};
}

/// An instance on a machine of its own.
struct FactoryPlug {
  explicit FactoryPlug(int rate = kMaterialRate) {
    plug.setSampleRate(static_cast<float>(rate));
    plug.setBlockSize(kRunBlock);
  }
  void load(const fs::path& path, bool isPreset) {
    const std::string bytes = bytesOf(path);
    plug.setChunk(bytes.data(), static_cast<std::int32_t>(bytes.size()), isPreset);
    EXPECT_FALSE(plug.chunkRefused()) << path;
  }

  Machine machine{std::make_unique<MemoryStore>(), {}};
  Plug plug{nullptr, Plug::Idle::kCaller, &monotonicMilliseconds, machine};
};

bool isOfBank(const std::string& name) { return name.starts_with("Factory Bank/"); }

std::vector<PresetSource> bankSources() {
  return readBankSource((kSources / "Factory Bank.json").string());
}

/// A preset's source, or an entry's of the bank, by its name in the claims.
PresetSource sourceOf(const std::string& name) {
  if (!isOfBank(name)) return readPresetSource((kSources / (name + ".json")).string());
  return bankSources().at(static_cast<std::size_t>(name.back() - 'A'));
}

void loadBuilt(FactoryPlug& loaded, const std::string& name) {
  if (isOfBank(name)) {
    loaded.load(kBank, false);
    loaded.plug.switchBank(name.back() - 'A');
  } else {
    loaded.load(kContent / "Presets" / (name + ".CorvanthelisPreset"), true);
  }
  loaded.plug.resume();
  loaded.plug.onIdle();
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
  const auto likeness = [&](int lag) {
    const auto first = in[0].begin() + 5 * kMaterialRate;
    return std::inner_product(first, first + kMaterialRate,
                              out[0].begin() + 5 * kMaterialRate + lag, 0.0);
  };
  int best = -24;
  for (int lag = -24; lag <= 24; ++lag) {
    if (likeness(lag) > likeness(best)) best = lag;
  }
  return best;
}

bool holds(const Claim& claim, const Outcome& before, const Outcome& after) {
  const double value = measured(claim, before, after);
  return value >= claim.low && value <= claim.high;
}

/// Otherwise claims would not be about the preset: they do not all hold of the trim alone.
void expectClaimsAreOfThePreset(const PresetClaims& row, const Material& material,
                                const Outcome& before) {
  PresetRun trimmed{material.main};
  for (const Setting& setting : sourceOf(row.preset).values) {
    if (setting.parameter != kOpTrim) continue;
    for (auto& channel : trimmed.out) {
      for (double& x : channel) x *= std::pow(10.0, 0.05 * static_cast<double>(setting.value));
    }
  }
  const Outcome after(trimmed);
  EXPECT_FALSE(std::ranges::all_of(
      row.claims, [&](const Claim& claim) { return holds(claim, before, after); }));
}

/// Checks a row with the effect at `factor` times the material's rate.
void expectDoesWhatItsLineSays(const PresetClaims& row, const Material& material,
                               const Outcome& before, int factor) {
  SCOPED_TRACE(testing::Message() << row.preset << " at " << factor * kMaterialRate << " Hz");
  FactoryPlug loaded(factor * kMaterialRate);
  loadBuilt(loaded, row.preset);
  expectLoadedAsWritten(loaded.plug, sourceOf(row.preset));
  PresetRun run = runThrough(loaded.plug, factor == 1 ? material : atTwiceTheRate(material));
  if (factor == 2) keepEverySecond(run);
  for (const auto& channel : run.out) {
    EXPECT_TRUE(std::ranges::all_of(channel, [](double x) { return std::isfinite(x); }));
  }
  EXPECT_NEAR(delayBetween(material.main, run.out), 0, 1);
  const Outcome after(run);
  for (const Claim& claim : row.claims) {
    EXPECT_TRUE(holds(claim, before, after))
        << claim.measure << " of " << claim.region.fromHz << " to " << claim.region.toHz << " Hz, "
        << claim.low << " to " << claim.high << ": " << measured(claim, before, after);
  }
}

/// Filters are coarser at 96 kHz: what low bands do has to hold there, too.
bool hasLowBands(const PresetSource& source) {
  return std::ranges::any_of(source.values, [](const Setting& setting) {
    return isBandParameter(setting.parameter) && setting.value < 250.0F &&
           bandOneIdOf(setting.parameter) == kB1Frequency;
  });
}

/// A folder of presets.
class FactoryPresets : public testing::TestWithParam<const char*> {};

TEST_P(FactoryPresets, doWhatTheirLinesSay) {
  std::map<std::string, std::pair<Material, Outcome>> sounds;
  int count = 0;
  for (const PresetClaims& row : presetClaims()) {
    if (!row.preset.starts_with(GetParam())) continue;
    if (!sounds.contains(row.sound)) {
      Material material = materialNamed(row.sound);
      const Outcome before(PresetRun{material.main});
      sounds.emplace(row.sound, std::pair(std::move(material), before));
    }
    const auto& [material, before] = sounds.at(row.sound);
    SCOPED_TRACE(row.preset);
    expectClaimsAreOfThePreset(row, material, before);
    expectDoesWhatItsLineSays(row, material, before, 1);
    if (hasLowBands(sourceOf(row.preset))) expectDoesWhatItsLineSays(row, material, before, 2);
    ++count;
  }
  EXPECT_GE(count, 4);
}

INSTANTIATE_TEST_SUITE_P(All, FactoryPresets,
                         testing::Values("01", "02", "03", "04", "05", "06", "07", "08", "09", "10",
                                         "Factory Bank"));

// A preset that carried the editor's part would resize the user's window.
TEST(FactoryContent, isClaimedAndListedAndHoldsParametersNameAndVersionAlone) {
  std::set<std::string> claimed;
  for (const PresetClaims& row : presetClaims()) claimed.insert(row.preset);
  const std::string readme = bytesOf(kSources / "../../README.md");
  const auto expectListed = [&](const std::string& place, const PresetSource& source) {
    const std::string line =
        "| " + place + " | " + source.name + " | " + source.description + " |\n";
    EXPECT_NE(readme.find(line), std::string::npos) << line;
  };
  std::size_t presets = 0;
  for (const auto& entry : fs::recursive_directory_iterator(kContent / "Presets")) {
    if (!entry.is_regular_file()) continue;
    const fs::path name = fs::relative(entry.path(), kContent / "Presets").replace_extension();
    SCOPED_TRACE(name);
    EXPECT_TRUE(claimed.contains(name.string()));
    expectListed(name.parent_path().string(), sourceOf(name.string()));
    ++presets;
    const JsonTree tree(jsonParse(unpackChunk(bytesOf(entry.path())).value_or("").c_str()));
    ASSERT_EQ(jsonGetArraySize(tree.get()), 3);
    EXPECT_NE(jsonGetObjectItem(tree.get(), "parameters"), nullptr);
    EXPECT_NE(jsonGetObjectItem(tree.get(), "v101"), nullptr);
    ASSERT_NE(jsonGetObjectItem(tree.get(), "name"), nullptr);
    EXPECT_EQ(jsonGetObjectItem(tree.get(), "name")->valueString, name.filename().string());
  }
  EXPECT_EQ(presets + PlugBase::kNumBanks - 1, claimed.size());
  char letter = 'A';
  for (const PresetSource& entry : bankSources()) expectListed(std::string(1, letter++), entry);
}

TEST(FactoryContent, beginsNeutral) {
  FactoryPlug untouched;
  FactoryPlug loaded;
  loaded.load(kBank, false);
  for (std::int32_t id = 0; id < kNumParams; ++id) {
    EXPECT_EQ(loaded.plug.getParameter(id), untouched.plug.getParameter(id))
        << parameterIdentifier(id);
  }
  const JsonTree bank(jsonParse(unpackChunk(bytesOf(kBank)).value_or("").c_str()));
  const JsonNode* const banks = jsonGetObjectItem(bank.get(), "ab");
  ASSERT_EQ(jsonGetArraySize(banks), PlugBase::kNumBanks);
  const JsonNode* const first = jsonGetObjectItem(jsonGetArrayItem(banks, 0), "parameters");
  EXPECT_STREQ(first->valueString, "default");

  const std::string bytes = bytesOf(kContent / "Factory Band.cvb");
  ASSERT_FALSE(bytes.empty());
  EXPECT_EQ(bytes.find('\0'), bytes.size() - 1);
  const JsonTree band(jsonParse(bytes.c_str()));
  const JsonNode* const params = jsonGetObjectItem(band.get(), "params");
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
