// What an instance stores, and what it takes from the machine.

#include <array>
#include <charconv>
#include <system_error>

#include "core/editor_document.h"
#include "core/plug.h"
#include "host/file_errors.h"
#include "host/shared_value.h"
#include "platform/paths.h"
#include "state/document_keys.h"
#include "state/json_writer.h"

namespace {

constexpr const char* kLoadingFlags = "loadingFlags";
constexpr std::int32_t kCarriesEditor = 1;  // bit of the loading flags
constexpr std::int32_t kNoTable = -1;       // stands for every preference then

std::size_t at(std::int32_t index) noexcept { return static_cast<std::size_t>(index); }

}  // namespace

JsonTree Plug::saveState(bool isPreset) {
  if (!isPreset) storedExtras = extras();
  JsonTree root = PlugBaseJSON::saveState(isPreset);
  if (!isPreset || (getLoadingFlags() & kCarriesEditor) != 0) saveEditorState(*this, root.get());
  JsonWriter(root.get()).add(documentKey::kVersionMark, jsonCreateTrue());
  return root;
}

/// All that allocates comes before anything is changed.
JsonTree Plug::loadState(const char* text, bool isPreset) {
  const bool takesEditor = !isPreset || (getLoadingFlags() & kCarriesEditor) != 0;
  JsonTree root;
  {
    const UpdateHold together(*this);
    root = PlugBaseJSON::loadState(text, isPreset);
    if (root == nullptr) {
      clearFlags();
      return root;
    }
    const bool isOld = jsonGetObjectItem(root.get(), documentKey::kVersionMark) == nullptr;
    if (takesEditor) loadEditorState(*this, root.get(), isPreset);
    if (isOld) keepOldLogBehaviour(isPreset);
    updateDsp(true);
  }
  autoGain.startAfresh();
  return root;
}

void Plug::documentLoaded(const JsonNode* root) {
  reserveEditorState(*this, root);
  clearFlags();
}

void Plug::clearFlags() noexcept {
  locked.clear();
  linked.clear();
  editor.flagsStale = true;
}

std::int32_t Plug::setChunk(const void* data, std::int32_t byteSize, bool isPreset) {
  std::array<float, kNumParams> before;
  std::int32_t taken = 0;
  {
    const StateScope scope(*this);
    for (int id = 0; id < kNumParams; ++id) before[at(id)] = normalisedValue(id);
    taken = PlugBaseJSON::setChunk(data, byteSize, isPreset);
    if (isPreset || taken == 0 || chunkRefused()) return taken;
  }
  // The host has heard that the program is another one, behind all that was loaded.
  for (int id = 0; id < kNumParams; ++id) {
    if (normalisedValue(id) != before[at(id)]) {
      tellValue(id);
    } else {
      expectEcho(id);  // a host may bring back its own list of all values
    }
  }
  return taken;
}

/// Documents of the first version know no other behaviour than the logarithmic one.
void Plug::keepOldLogBehaviour(bool isPreset) {
  setParameter(kLogBehaviour, 1.0F);
  if (isPreset) return;
  for (ProgramRecord& bank : banks) storeShared(bank.values[kLogBehaviour], 1.0F);
}

std::int32_t Plug::getLoadingFlags() {
  if (const auto text = ownMachine.store().read(kLoadingFlags)) {
    std::int64_t stored = 0;
    const auto [end, error] = std::from_chars(text->data(), text->data() + text->size(), stored);
    if (error == std::errc()) loadingFlags.store(static_cast<std::int32_t>(stored), relaxed);
  }
  return loadingFlags.load(relaxed);
}

void Plug::setLoadingFlags(std::int32_t flags) {
  loadingFlags.store(flags, relaxed);
  ownMachine.store().write(kLoadingFlags, std::to_string(flags));
  markChanged();
}

void Plug::setLocked(std::int32_t id, bool on) noexcept {
  locked.set(id, on);
  editor.flagsStale = true;
  markChanged();
}

void Plug::setLinked(std::int32_t id, bool on) noexcept {
  linked.set(id, on);
  editor.flagsStale = true;
  markChanged();
}

void Plug::setLockWords(std::span<const std::int32_t> words) noexcept {
  locked.setWords(words);
  editor.flagsStale = true;
  markChanged();
}

void Plug::setLinkWords(std::span<const std::int32_t> words) noexcept {
  linked.setWords(words);
  editor.flagsStale = true;
  markChanged();
}

void Plug::clearBandFlags(int band) noexcept {
  for (int row = kB1State; row <= kB1SCHFType; ++row) {
    setLocked(bandParameterId(band, row), false);
    setLinked(bandParameterId(band, row), false);
  }
}

float Plug::getParameterDefault(std::int32_t index) const noexcept {
  return isParameter(index) ? loadShared(bandTemplate.values[at(index)]) : 0.0F;
}

void Plug::setParameterDefault(std::int32_t index, float normalised) noexcept {
  if (!isParameter(index)) return;
  storeShared(bandTemplate.values[at(index)], normalised);
  editor.defaultsStale = true;
}

void Plug::applyGlobalPreferences() {
  const Globals& globals = ownMachine.globals();
  const auto choice = [&globals](const char* key) { return globals.getGlobal(key, kNoTable); };
  Preferences wanted;
  wanted.meterBallistic = choice("Meter Ballistic");
  wanted.autolistenPassband = choice("Autolisten") != 0;
  wanted.simpleNumbers = choice("Number Format") != 0;
  wanted.gestures = choice("VST Gestures") != 0;
  wanted.automateBanks = choice("A/B Automation") != 0;
  applyPreferences(wanted);
  setCompressionLevel(9);
}

void Plug::loadDefaultBanks() {
  const InstallFolders& folders = ownMachine.folders();
  const auto load = [&](const std::string& extension, std::string& path) {
    const std::string bytes =
        loadInstallFile(folders, "Default Bank." + extension, "Factory Bank." + extension, path);
    const bool isPassedOver = isTooLargeToLoad(path);
    if (isPassedOver) reportFileContent(path, "is too large for a bank", "It has been passed over");
    if (bytes.empty()) return;
    // No host listens yet.
    PlugBaseJSON::setChunk(bytes.data(), static_cast<std::int32_t>(bytes.size()), false);
    if (!chunkRefused()) return;
    const bool isUsers = !isPassedOver && isThere(path);
    reportFileContent(isUsers ? path : "Factory Bank." + extension, "holds no bank",
                      "The settings are the program's own");
  };
  std::string oldPath;
  load(kOldBankExtension, oldPath);
  std::string defaultPath;
  load(kBankExtension, defaultPath);
  files.setDefaultBankPath(defaultPath);
}

void Plug::restoreLoadedState(std::int32_t marker, bool towardsRedo) {
  files.restoreSnapshot(marker == historyPresetLoad, towardsRedo);
}
