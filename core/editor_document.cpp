#include "core/editor_document.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "core/band_rules.h"
#include "host/editor_state.h"
#include "host/parameter_input.h"
#include "host/parameter_store.h"
#include "state/document_keys.h"
#include "state/json_writer.h"
#include "state/ui_settings.h"

namespace {

constexpr const char* kModeKey = "uimode";
constexpr const char* kCurrentAB = "currentAB";
constexpr const char* kLastAB = "lastAB";
constexpr const char* kFreeWidth = "freeWidth";
constexpr const char* kCurrentBand = "currentBand";
constexpr const char* kMeterRange = "meterRange";
constexpr const char* kGraph = "EQGraphBase";
constexpr const char* kLowest = "minf";
constexpr const char* kHighest = "maxf";
constexpr const char* kFolder = "lastPresetFolder";
constexpr const char* kLocks = "parameterLocks";
constexpr const char* kLinks = "parameterLinks";

// Pixels. No window system goes beyond; widths scaled to another mode stay within `int`, too.
constexpr int kWidestWindow = 32767;

constexpr std::size_t kLongestPath = 4095;  // bytes

struct Number {
  const char* key;
  SharedNumber<int> EditorState::*field;
};

// Whole numbers stored without conversion, in the order of the document.
constexpr std::array<Number, 3> kBeforeWidth = {{
    {"lastListen", &EditorState::lastListen},
    {"linkPage", &EditorState::linkPage},
    {"zoomState", &EditorState::zoomState},
}};
constexpr std::array<Number, 4> kBehindBand = {{
    {"bandGraph", &EditorState::bandGraph},
    {"meterChannel", &EditorState::meterChannel},
    {"meterShow", &EditorState::meterShow},
    {"meterZoom", &EditorState::meterZoom},
}};
constexpr Number kLastPreset = {"lastPreset", &EditorState::lastPreset};

void addNumbers(JsonWriter& members, const EditorState& state, std::span<const Number> numbers) {
  for (const Number& number : numbers) {
    members.add(number.key, jsonCreateNumber(state.*number.field));
  }
}

template <std::size_t kCount>
void addWords(JsonWriter& members, const char* key, const std::array<std::int32_t, kCount>& words) {
  members.add(key, jsonCreateIntArray(words.data(), static_cast<int>(kCount)));
}

template <typename Field>
void takeNumber(const JsonNode* settings, const char* key, Field& field) {
  if (const JsonNode* const node = jsonGetObjectItem(settings, key)) field = node->valueInt;
}

void takeNumbers(const JsonNode* settings, EditorState& state, std::span<const Number> numbers) {
  for (const Number& number : numbers) takeNumber(settings, number.key, state.*number.field);
}

/// Hands the words of a list to `use`: as many as it holds, at most as many as the flags need.
template <typename Use>
void takeWords(const JsonNode* list, const Use& use) {
  BandRules::Words words{};
  std::size_t count = 0;
  const JsonNode* item = list != nullptr ? list->child : nullptr;
  for (; item != nullptr && count < words.size(); item = item->next) {
    words[count++] = item->valueInt;
  }
  use(std::span<const std::int32_t>(words.data(), count));
}

/// The folder in the settings. None if it is longer than any path: every later state would hold it.
std::optional<std::string_view> folderIn(const JsonNode* settings) {
  const JsonNode* const folder = jsonGetObjectItem(settings, kFolder);
  if (folder == nullptr) return std::nullopt;
  const std::string_view path = folder->valueString != nullptr ? folder->valueString : "";
  return path.size() <= kLongestPath ? std::optional(path) : std::nullopt;
}

/// Only where not all frequencies are shown.
void addGraphRange(JsonWriter& members, const EditorState& state) {
  if (state.graphLowest == EditorState::kLowestShown &&
      state.graphHighest == EditorState::kHighestShown) {
    return;
  }
  JsonWriter range(members.add(kGraph, jsonCreateObject()));
  range.add(kLowest, jsonCreateNumber(state.graphLowest));
  range.add(kHighest, jsonCreateNumber(state.graphHighest));
}

void takeGraphRange(const JsonNode* settings, EditorState& state) {
  const JsonNode* const range = jsonGetObjectItem(settings, kGraph);
  const auto take = [range](const char* key, SharedNumber<double>& to, double byDefault) {
    const JsonNode* const node = range != nullptr ? jsonGetObjectItem(range, key) : nullptr;
    const double wanted = node != nullptr ? node->valueDouble : byDefault;
    if (std::isfinite(wanted)) to = wanted;
  };
  take(kLowest, state.graphLowest, EditorState::kLowestShown);
  take(kHighest, state.graphHighest, EditorState::kHighestShown);
}

void takeBanks(const EditorDocument& of, const JsonNode* settings) {
  takeNumber(settings, kLastAB, of.state.lastAB);
  const JsonNode* const bank = jsonGetObjectItem(settings, kCurrentAB);
  if (bank == nullptr) return;
  of.input.applyBank(bank->valueInt, false);
  of.state.bankStale = true;
}

/// Takes mode and width. The mode is in force at once if no window is open, otherwise with the next
/// layout. Unless the document gives a width, the width of a new mode follows from the zoom.
void takeMode(const JsonNode* settings, EditorState& state) {
  takeNumber(settings, kModeKey, state.wantedUimode);
  const JsonNode* const width = jsonGetObjectItem(settings, kFreeWidth);
  const bool isWidth = width != nullptr && width->valueInt > 0 && width->valueInt <= kWidestWindow;
  if (isWidth && !state.loadingFile) {
    state.freeWidth = width->valueInt;
    state.zoom = static_cast<double>(state.freeWidth) / EditorState::widthOf(state.wantedUimode);
  }
  if (!state.isWindowOpen()) state.applyWantedMode();
}

void takeBand(const JsonNode* settings, EditorState& state) {
  int band = state.currentBand;
  takeNumber(settings, kCurrentBand, band);
  if (jsonGetObjectItem(settings, kCurrentBand) == nullptr || !isBand(band)) return;
  state.currentBand = band;
  state.selectedBands = 1U << band;
  state.shownBands = 1U << band;
}

}  // namespace

void saveEditorState(const EditorDocument& of, JsonNode* root) {
  const EditorState& state = of.state;
  JsonWriter document(root);
  JsonWriter members(document.add(documentKey::kSettings, jsonCreateObject()));
  members.add(kModeKey, jsonCreateNumber(state.uimode));
  members.add(kCurrentAB, jsonCreateNumber(of.values.currentBank()));
  members.add(kLastAB, jsonCreateNumber(state.lastAB));
  addNumbers(members, state, kBeforeWidth);
  members.add(kFreeWidth, jsonCreateNumber(state.freeWidth));
  members.add(kCurrentBand, jsonCreateNumber(state.currentBand));
  addNumbers(members, state, kBehindBand);
  members.add(kMeterRange, jsonCreateNumber(static_cast<double>(state.meterRange)));
  addNumbers(members, state, {&kLastPreset, 1});
  members.add(kFolder, jsonCreateString(state.lastPresetFolder.c_str()));
  addWords(members, kLocks, of.rules.locked.words());
  addWords(members, kLinks, of.rules.linked.words());
  addGraphRange(members, state);
  if (JsonTree options = of.options.save()) document.add(documentKey::kUiPrefs, options.release());
}

void reserveEditorState(const EditorDocument& of, const JsonNode* root) {
  const JsonNode* const settings = jsonGetObjectItem(root, documentKey::kSettings);
  if (const auto folder = folderIn(settings)) {
    of.state.lastPresetFolder.reserve(folder->size());
  }
}

void loadEditorState(const EditorDocument& of, const JsonNode* root, bool isPreset) {
  const JsonNode* const settings = jsonGetObjectItem(root, documentKey::kSettings);
  if (settings == nullptr) return;
  EditorState& state = of.state;
  // Before the banks: a locked parameter keeps its present value, whatever the live bank holds.
  takeWords(jsonGetObjectItem(settings, kLocks),
            [&of](auto words) { of.rules.locked.setWords(words); });
  // A bank loaded as a preset holds "presets", too, but only its first program is loaded.
  if (!isPreset && jsonGetObjectItem(root, documentKey::kPresets) != nullptr)
    takeBanks(of, settings);
  takeMode(settings, state);
  takeNumbers(settings, state, kBeforeWidth);
  takeBand(settings, state);
  takeNumbers(settings, state, kBehindBand);
  if (const JsonNode* const range = jsonGetObjectItem(settings, kMeterRange)) {
    const auto wanted = static_cast<float>(range->valueDouble);
    if (std::isfinite(wanted)) state.meterRange = wanted;
  }
  takeGraphRange(settings, state);
  takeNumbers(settings, state, {&kLastPreset, 1});
  if (const auto folder = folderIn(settings)) state.lastPresetFolder = *folder;
  takeWords(jsonGetObjectItem(settings, kLinks),
            [&of](auto words) { of.rules.linked.setWords(words); });
  state.flagsStale = true;
  state.layoutWanted = true;
  if (const JsonNode* const options = jsonGetObjectItem(root, documentKey::kUiPrefs)) {
    of.options.merge(options);
  }
}
