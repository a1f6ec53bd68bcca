#include "host/plug_base_json.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <new>
#include <utility>

#include "host/loading_scope.h"
#include "host/shared_value.h"
#include "state/chunk_codec.h"
#include "state/document_keys.h"
#include "state/json_memory.h"
#include "state/json_writer.h"

namespace {

constexpr double kLeastDifference = 1e-9;

std::size_t at(std::int32_t index) noexcept { return static_cast<std::size_t>(index); }

/// The values of a record that other threads write to.
std::vector<float> copyOf(const ProgramRecord& record) {
  std::vector<float> values;
  values.reserve(record.values.size());
  for (const float& value : record.values) values.push_back(loadShared(value));
  return values;
}

/// The key of parameter `hint`, if that is `key`: documents have the order of the table. Else a
/// search; -1 for a key that is none.
std::int32_t parameterOf(const ParameterKeys& keys, const char* key, std::int32_t hint) noexcept {
  if (hint >= 0 && at(hint) < keys.size()) {
    const ParameterKeys::Entry& entry = keys[at(hint)];
    if (entry.number == hint && entry.name == key) return hint;
  }
  return keys.find(key);
}

}  // namespace

PlugBaseJSON::PlugBaseJSON(AudioMasterCallback audioMaster, std::span<const ParameterRecord> table,
                           const ParameterKeys& parameterKeys, int numPrograms)
    : PlugBase(audioMaster, table, parameterKeys, numPrograms), loadedValues(table.size()) {
  programsAreChunks();
}

void PlugBaseJSON::setParameter(std::int32_t index, float normalised) {
  PlugBase::setParameter(index, normalised);
  // After the write: whoever clears the mark and then reads the values must not miss this one.
  markChanged();
}

void PlugBaseJSON::setParameterFromAudio(std::int32_t index, float normalised) noexcept {
  PlugBase::setParameterFromAudio(index, normalised);
  markChanged();
}

void PlugBaseJSON::switchBank(std::int32_t bank) {
  PlugBase::switchBank(bank);
  markChanged();
}

void PlugBaseJSON::copyToBank(std::int32_t bank) {
  PlugBase::copyToBank(bank);
  markChanged();
}

void PlugBaseJSON::setProgramName(const char* name) {
  PlugBase::setProgramName(name);
  markChanged();
}

void PlugBaseJSON::resume() {
  PlugBase::resume();
  const StateScope scope(*this);
  chunkCache.reset();
  markChanged();
}

void PlugBaseJSON::setCompressionLevel(std::int32_t level) noexcept {
  chunkLevel.store(std::clamp(level, 0, 9), relaxed);
}

float PlugBaseJSON::convertLoadedValue(std::int32_t /*index*/, double value) const {
  return static_cast<float>(value);
}

std::int32_t PlugBaseJSON::getChunk(void** data, bool isPreset) {
  if (data == nullptr) return 0;
  const StateScope scope(*this);
  try {
    if (extrasChanged()) markChanged();
    if (isPreset || !chunkCache || chunkDirty.load(std::memory_order_acquire)) {
      // Before the values are read: what changes meanwhile marks the state again. An exchange, so
      // that the values behind a mark that it takes away are seen.
      if (!isPreset && chunkCacheEnabled) chunkDirty.exchange(false);
      bool isPacked = false;
      chunkCache = std::make_shared<const std::string>(buildChunk(isPreset, isPacked));
      if (!isPacked) markChanged();
    }
    keepFor(std::this_thread::get_id(), chunkCache);
  } catch (const std::bad_alloc&) {
    markChanged();
    *data = nullptr;
    return 0;
  }
  *data = const_cast<char*>(chunkCache->data());
  return static_cast<std::int32_t>(chunkCache->size());
}

/// A thread may still read what it was handed when another one asks.
void PlugBaseJSON::keepFor(std::thread::id reader, const Chunk& chunk) {
  constexpr std::size_t kMostReaders = 16;  // more than hosts have: most threads of old are gone
  std::erase_if(handedOut, [reader](const auto& entry) { return entry.first == reader; });
  handedOut.reserve(kMostReaders);
  if (handedOut.size() == kMostReaders) handedOut.erase(handedOut.begin());
  handedOut.emplace_back(reader, chunk);
}

std::string PlugBaseJSON::document(bool isPreset) {
  const StateScope scope(*this);
  markChanged();  // what was handed out last is no document of this moment
  try {
    bool isPacked = false;
    return buildChunk(isPreset, isPacked);
  } catch (const std::bad_alloc&) {
    return {};
  }
}

/// The plain text, with `isPacked` false, when it could not be packed.
std::string PlugBaseJSON::buildChunk(bool isPreset, bool& isPacked) {
  const JsonTree tree = saveState(isPreset);
  const JsonText text(made(jsonPrintFormatted(tree.get())));
  std::string chunk(text.get(), std::strlen(text.get()) + 1);
  isPacked = true;
  const std::int32_t level = chunkLevel.load(relaxed);
  if (level == 0) return chunk;
  auto packed = packChunk(chunk, level);
  isPacked = packed.has_value();
  return packed ? std::move(*packed) : chunk;
}

std::int32_t PlugBaseJSON::setChunk(const void* data, std::int32_t byteSize, bool isPreset) {
  const StateScope scope(*this);
  markChanged();
  if (data == nullptr || byteSize < 0) return 0;
  std::string text;
  // Bytes that do not unpack are no document either, and no more of them than one can have.
  if (at(byteSize) <= kMostDocumentBytes) text.assign(static_cast<const char*>(data), at(byteSize));
  if (isPackedChunk(text)) {
    if (auto unpacked = unpackChunk(text)) text = std::move(*unpacked);
  }
  refused.store(loadState(text.c_str(), isPreset) == nullptr, relaxed);
  updateDsp(true);
  return byteSize;
}

JsonTree PlugBaseJSON::saveState(bool isPreset) {
  JsonTree root(jsonCreateObject());
  JsonWriter members(root.get());
  if (isPreset) {
    saveProgram(root.get(), curProgram.load(relaxed));
    return root;
  }
  JsonWriter programList(members.add(documentKey::kPresets, jsonCreateArray()));
  for (std::int32_t i = 0; i < static_cast<std::int32_t>(programs.size()); ++i) {
    saveProgram(programList.add(jsonCreateObject()), i);
  }
  JsonWriter bankList(members.add(documentKey::kBanks, jsonCreateArray()));
  for (std::int32_t i = 0; i < kNumBanks; ++i) {
    JsonNode* const bank = bankList.add(jsonCreateObject());
    saveBankParameters(bank, i);
    saveBankExtras(bank, i);
  }
  return root;
}

void PlugBaseJSON::saveProgram(JsonNode* object, std::int32_t index) {
  saveProgramParameters(object, index);
  saveProgramExtras(object, index);
  JsonWriter(object).add(documentKey::kName, jsonCreateString(programs[at(index)].name.data()));
}

void PlugBaseJSON::saveProgramParameters(JsonNode* object, std::int32_t index) {
  saveParameters(object, programs[at(index)]);
}

void PlugBaseJSON::saveBankParameters(JsonNode* object, std::int32_t index) {
  saveParameters(object, banks[at(index)]);
}

void PlugBaseJSON::saveParameters(JsonNode* object, const ProgramRecord& record) const {
  JsonWriter members(object);
  const std::vector<float> values = copyOf(record);
  const std::vector<float>& usual = defaultValues.values;
  if (std::memcmp(values.data(), usual.data(), values.size() * sizeof(float)) == 0) {
    members.add(documentKey::kParameters, jsonCreateString(documentKey::kAllDefault));
    return;
  }
  JsonWriter writer(members.add(documentKey::kParameters, jsonCreateObject()));
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (static_cast<double>(std::fabs(values[i] - usual[i])) < kLeastDifference) continue;
    const std::string& key = keys.name(static_cast<std::int32_t>(i));
    writer.add(key.c_str(), jsonCreateNumber(static_cast<double>(values[i])));
  }
}

JsonTree PlugBaseJSON::loadState(const char* text, bool isPreset) {
  JsonTree root = parsedJson(text);
  if (!jsonIsType(root.get(), kJsonObject)) return nullptr;
  documentLoaded(root.get());
  if (isPreset) {
    loadPreset(root.get());
  } else {
    loadFull(root.get());
  }
  return root;
}

void PlugBaseJSON::loadFull(const JsonNode* root) {
  const LoadingScope loading(isLoading);  // ends early, with the program
  const JsonNode* const list = jsonGetObjectItem(root, documentKey::kPresets);
  if (list != nullptr) {
    const int stored = jsonGetArraySize(list);
    for (int i = 0; i < stored && at(i) < programs.size(); ++i) {
      const JsonNode* const program = jsonGetArrayItem(list, i);
      const JsonNode* const name = jsonGetObjectItem(program, documentKey::kName);
      if (jsonIsType(name, kJsonString)) programs[at(i)].setName(name->valueString);
      loadProgram(program, i);
    }
  } else {
    if (const JsonNode* const name = jsonGetObjectItem(root, documentKey::kName);
        jsonIsType(name, kJsonString)) {
      setProgramName(name->valueString);
    }
    loadProgram(root, curProgram.load(relaxed));
  }
  setProgram(curProgram.load(relaxed));
  if (const JsonNode* const bankList = jsonGetObjectItem(root, documentKey::kBanks)) {
    loadBanks(bankList);
  } else if (list != nullptr) {
    for (std::int32_t bank = 0; bank < kNumBanks; ++bank) copyToBank(bank);
  }
  selectBank(curBank.load(relaxed));  // whatever the program's value of the selector was
}

void PlugBaseJSON::loadBanks(const JsonNode* list) {
  const int stored = std::min(jsonGetArraySize(list), kNumBanks);
  for (int i = 0; i < stored; ++i) {
    const JsonNode* const bank = jsonGetArrayItem(list, i);
    loadBankParameters(bank, i);
    loadBankExtras(bank, i);
  }
}

void PlugBaseJSON::loadPreset(const JsonNode* root) {
  if (const JsonNode* const name = jsonGetObjectItem(root, documentKey::kName);
      jsonIsType(name, kJsonString)) {
    setProgramName(name->valueString);
  }
  // A bank where a preset was asked for gives its first program.
  const JsonNode* const list = jsonGetObjectItem(root, documentKey::kPresets);
  const JsonNode* const first = jsonGetArrayItem(list, 0);
  loadProgram(first != nullptr ? first : root, curProgram.load(relaxed));
  setProgram(curProgram.load(relaxed));
}

void PlugBaseJSON::loadProgram(const JsonNode* object, std::int32_t index) {
  loadProgramParameters(object, index);
  loadProgramExtras(object, index);
}

void PlugBaseJSON::loadProgramParameters(const JsonNode* object, std::int32_t index) {
  loadParameters(object, programs[at(index)]);
}

void PlugBaseJSON::loadBankParameters(const JsonNode* object, std::int32_t index) {
  loadParameters(object, banks[at(index)]);
}

void PlugBaseJSON::loadParameters(const JsonNode* object, ProgramRecord& record) {
  std::vector<float>& loaded = loadedValues;
  std::copy(defaultValues.values.begin(), defaultValues.values.end(), loaded.begin());
  const JsonNode* const stored = jsonGetObjectItem(object, documentKey::kParameters);
  std::int32_t hint = 0;
  for (const JsonNode* member = stored != nullptr ? stored->child : nullptr; member != nullptr;
       member = member->next) {
    const std::int32_t index = member->key != nullptr ? parameterOf(keys, member->key, hint) : -1;
    hint = index >= 0 ? index + 1 : -1;
    if (!isParameter(index)) continue;
    const float value = convertLoadedValue(index, member->valueDouble);
    // A number beyond all bounds could not be stored again.
    if (std::isfinite(value)) loaded[at(index)] = value;
  }
  for (std::size_t i = 0; i < loaded.size(); ++i) storeShared(record.values[i], loaded[i]);
}
