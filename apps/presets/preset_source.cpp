#include "apps/presets/preset_source.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <initializer_list>
#include <string_view>

#include "apps/output/failure.h"
#include "apps/output/text.h"
#include "core/parameter_table.h"
#include "editing/band_files.h"
#include "platform/index.h"
#include "platform/whole_file.h"
#include "state/json_document.h"

namespace {

constexpr int kOrderBits = 3;  // per band, in `kBandOrder`

using Chain = PresetSource::Chain;

/// Reads the members of one object; every error message begins with the file and the position in
/// it.
class ObjectReader {
 public:
  ObjectReader(const JsonNode* object, std::string file, std::string place)
      : node(object), fileName(std::move(file)), where(std::move(place)) {
    if (!jsonIsType(node, kJsonObject)) fail("should be an object");
  }

  [[noreturn]] void fail(const std::string& reason) const {
    throw Failure(fileName, where.empty() ? reason : where + ": " + reason);
  }
  void allowMembers(std::initializer_list<std::string_view> known) const {
    for (const JsonNode* m = node->child; m != nullptr; m = m->next) {
      if (std::ranges::find(known, std::string_view(m->key)) == known.end()) {
        fail("unknown member \"" + std::string(m->key) + "\"");
      }
      if (jsonGetObjectItem(node, m->key) != m) fail("\"" + std::string(m->key) + "\" twice");
    }
  }
  [[nodiscard]] std::string line(const char* key) const {
    const JsonNode* const item = jsonGetObjectItem(node, key);
    if (!jsonIsType(item, kJsonString)) fail("\"" + std::string(key) + "\" should be a text");
    std::string text = item->valueString;
    if (text.empty() || text.find('\n') != std::string::npos) {
      fail("\"" + std::string(key) + "\" should be one line");
    }
    return text;
  }
  [[nodiscard]] std::optional<ObjectReader> object(const char* key) const {
    const JsonNode* const item = jsonGetObjectItem(node, key);
    if (item == nullptr) return std::nullopt;
    return ObjectReader(item, fileName, where.empty() ? key : where + ", " + key);
  }
  /// Band numbers 1..8 converted to 0..7; empty without the member.
  [[nodiscard]] std::vector<int> bands(const char* key) const {
    std::vector<int> result;
    const JsonNode* const item = jsonGetObjectItem(node, key);
    if (item == nullptr) return result;
    if (!jsonIsType(item, kJsonArray)) fail("\"" + std::string(key) + "\" should be an array");
    for (const JsonNode* m = item->child; m != nullptr; m = m->next) {
      const bool isBand = jsonIsType(m, kJsonNumber) &&
                          m->valueDouble == std::floor(m->valueDouble) && m->valueDouble >= 1.0 &&
                          m->valueDouble <= kNumBands;
      if (!isBand) fail("\"" + std::string(key) + "\" should hold band numbers, 1 to 8");
      result.push_back(m->valueInt - 1);
    }
    return result;
  }
  [[nodiscard]] std::vector<Setting> settings() const {
    std::vector<Setting> result;
    for (const JsonNode* m = node->child; m != nullptr; m = m->next) {
      const Setting read = setting(*m);
      for (const Setting& before : result) {
        if (before.parameter == read.parameter) fail(std::string(m->key) + " twice");
      }
      result.push_back(read);
    }
    return result;
  }

 private:
  [[nodiscard]] Setting setting(const JsonNode& member) const {
    const std::string key = member.key;
    if (!jsonIsType(&member, kJsonNumber)) fail(key + " should be a number");
    try {
      const std::int32_t parameter = parameterNumber(key);
      std::vector<std::string> warnings;
      const float plain = readPlain(parameter, shortestText(member.valueDouble), {}, warnings);
      if (!warnings.empty()) fail(warnings.front());
      return {parameter, false, plain};
    } catch (const WrongArguments& unknown) {
      fail(unknown.what());
    }
  }

  const JsonNode* node;
  std::string fileName;
  std::string where;
};

JsonTree readTree(const std::string& file) {
  std::string text;
  if (readWholeFile(file, text, kMostDocumentBytes)) throw Failure(file, "cannot be read");
  JsonTree tree(jsonParse(text.c_str()));
  if (tree == nullptr) {
    const char* const fault = jsonGetErrorPtr();
    const auto lines = fault == nullptr ? 0 : std::count(text.c_str(), fault, '\n');
    throw Failure(file, "line " + std::to_string(lines + 1) + ": this is no JSON");
  }
  return tree;
}

std::string stemOf(const std::string& file) { return std::filesystem::path(file).stem().string(); }

/// Whether this parameter belongs to "chain" and not to "set": positions of bands, and which are
/// on.
bool isChainParameter(std::int32_t parameter) {
  if (!isBandParameter(parameter)) return parameter == kBandOrder || parameter == kABBank;
  const int row = bandOneIdOf(parameter);
  return row == kB1State || row == kB1Type;
}

float plainOf(const PresetSource& source, std::int32_t parameter) {
  for (const Setting& setting : source.values) {
    if (setting.parameter == parameter) return setting.value;
  }
  return kParameterTable[at(parameter)].value;
}

/// The bands of the chain in the order of the signal path.
std::vector<int> bandsInOrder(const Chain& chain) {
  std::vector<int> order = chain.pre;
  order.insert(order.end(), chain.crossover.begin(), chain.crossover.end());
  order.insert(order.end(), chain.post.begin(), chain.post.end());
  return order;
}

void checkChain(const PresetSource& source, const ObjectReader& reader) {
  std::vector<int> used = bandsInOrder(*source.chain);
  std::ranges::sort(used);
  if (source.chain->crossover.empty() && !source.chain->post.empty()) {
    reader.fail("without a crossover all bands are \"pre\"");
  }
  if (std::ranges::adjacent_find(used) != used.end()) reader.fail("a band is in the chain twice");
  float below = 0.0F;
  for (const int band : source.chain->crossover) {
    const float hertz = plainOf(source, bandParameterId(band, kB1Frequency));
    if (hertz <= below) reader.fail("the crossover's bands should stand by rising frequency");
    below = hertz;
  }
}

void checkBandsAreUsed(const PresetSource& source, const ObjectReader& reader) {
  const std::vector<int> used = source.chain ? bandsInOrder(*source.chain) : std::vector<int>{0};
  for (const Setting& setting : source.values) {
    const std::string identifier = parameterIdentifier(setting.parameter);
    if (isChainParameter(setting.parameter)) reader.fail(identifier + " follows from \"chain\"");
    if (isBandParameter(setting.parameter) &&
        std::ranges::find(used, bandOf(setting.parameter)) == used.end()) {
      reader.fail(identifier + " is set, but the band is not in the chain");
    }
  }
}

/// Reads what a preset and an entry of a bank have in common.
void readCommon(const ObjectReader& reader, PresetSource& source) {
  source.description = reader.line("description");
  if (const auto set = reader.object("set")) source.values = set->settings();
  if (const auto chain = reader.object("chain")) {
    chain->allowMembers({"pre", "crossover", "post"});
    source.chain = Chain{chain->bands("pre"), chain->bands("crossover"), chain->bands("post")};
    checkChain(source, *chain);
  }
  checkBandsAreUsed(source, reader);
}

/// All eight bands, packed as in `kBandOrder`: the last one follows from the others.
std::int32_t packedOrder(const Chain& chain) {
  std::vector<int> order = bandsInOrder(chain);
  for (int band = 0; band < kNumBands; ++band) {
    if (std::ranges::find(order, band) == order.end()) order.push_back(band);
  }
  std::int32_t packed = 0;
  for (std::size_t place = 0; place + 1 < kNumBands; ++place) {
    packed |= order[place] << (kOrderBits * static_cast<int>(place));
  }
  return packed;
}

void setPlain(Plug& plug, std::int32_t parameter, float plain) {
  plug.setParameter(parameter, plug.plainToNormalised(parameter, plain));
}

void applyChain(Plug& plug, const Chain& chain) {
  const std::vector<int> used = bandsInOrder(chain);
  for (int band = 0; band < kNumBands; ++band) {
    const bool isOn = std::ranges::find(used, band) != used.end();
    const bool isCrossover = std::ranges::find(chain.crossover, band) != chain.crossover.end();
    setPlain(plug, bandParameterId(band, kB1State), isOn ? 1.0F : 0.0F);
    setPlain(plug, bandParameterId(band, kB1Type), isOn && !isCrossover ? 1.0F : 0.0F);
  }
  const std::int32_t packed = packedOrder(chain);
  const auto present = static_cast<double>(plug.getPlainValue(kBandOrder));
  // A default with few digits may stand for exactly this order.
  if (static_cast<std::int32_t>(present * BandLayout::kOrderScale) != packed) {
    setPlain(plug, kBandOrder, static_cast<float>(packed / BandLayout::kOrderScale));
  }
}

void checkTaken(Plug& plug, const PresetSource& source) {
  for (const Setting& setting : source.values) {
    const float taken = plug.getPlainValue(setting.parameter);
    if (std::abs(taken - setting.value) > 1e-4F * std::max(1.0F, std::abs(setting.value))) {
      throw Failure(source.file, source.name + ": " + parameterIdentifier(setting.parameter) +
                                     " cannot be " + shortestText(setting.value));
    }
  }
  if (!source.chain) return;
  BandLayout& layout = plug.getEngine().layout;
  const auto isAs = [&layout](const std::vector<int>& wanted, const BandLayout::List& list) {
    return std::ranges::equal(wanted, layout.copyOf(list));
  };
  if (!isAs(source.chain->pre, layout.pre) || !isAs(source.chain->crossover, layout.xover) ||
      !isAs(source.chain->post, layout.post)) {
    throw Failure(source.file, source.name + ": the effect refuses the chain");
  }
}

}  // namespace

PresetSource readPresetSource(const std::string& file) {
  const JsonTree tree = readTree(file);
  const ObjectReader reader(tree.get(), file, "");
  reader.allowMembers({"description", "chain", "set"});
  PresetSource source;
  source.file = file;
  source.name = stemOf(file);
  readCommon(reader, source);
  return source;
}

std::vector<PresetSource> readBankSource(const std::string& file) {
  const JsonTree tree = readTree(file);
  if (!jsonIsType(tree.get(), kJsonArray) || jsonGetArraySize(tree.get()) != PlugBase::kNumBanks) {
    throw Failure(file, "should be an array of eight");
  }
  std::vector<PresetSource> entries;
  for (int i = 0; i < PlugBase::kNumBanks; ++i) {
    const std::string place(1, static_cast<char>('A' + i));
    const ObjectReader reader(jsonGetArrayItem(tree.get(), i), file, place);
    reader.allowMembers({"name", "description", "chain", "set"});
    PresetSource& entry = entries.emplace_back();
    entry.file = file;
    entry.name = reader.line("name");
    readCommon(reader, entry);
  }
  return entries;
}

PresetSource readBandSource(const std::string& file) {
  const JsonTree tree = readTree(file);
  const ObjectReader reader(tree.get(), file, "");
  reader.allowMembers({"description", "set"});
  PresetSource source;
  source.file = file;
  source.name = stemOf(file);
  readCommon(reader, source);
  for (const Setting& setting : source.values) {
    if (std::ranges::find(kBandFileRows, setting.parameter) == kBandFileRows.end()) {
      reader.fail(parameterIdentifier(setting.parameter) + " is no part of a band file");
    }
  }
  return source;
}

void applyPreset(Plug& plug, const PresetSource& source) {
  {
    // The chain is valid only together with its frequencies.
    const UpdateHold hold(plug.updates());
    for (const Setting& setting : source.values) {
      setPlain(plug, setting.parameter, setting.value);
    }
    if (source.chain) applyChain(plug, *source.chain);
  }
  plug.updateDsp(true);
  checkTaken(plug, source);
}
