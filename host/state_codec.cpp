#include "host/state_codec.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "host/raised.h"
#include "host/shared_value.h"
#include "platform/index.h"
#include "state/document_keys.h"
#include "state/json_writer.h"

namespace {

constexpr double kLeastDifference = 1e-9;

/// A copy of a record's values, which other threads may be writing.
std::vector<float> copyOf(const ProgramRecord& record) {
  std::vector<float> values;
  values.reserve(record.values.size());
  for (const float& value : record.values) values.push_back(loadShared(value));
  return values;
}

/// The parameter with this key, or -1. Tries `hint` before searching, since documents usually
/// follow the order of the table.
std::int32_t parameterOf(const ParameterKeys& keys, const char* key, std::int32_t hint) noexcept {
  if (hint >= 0 && at(hint) < keys.size()) {
    const ParameterKeys::Entry& entry = keys[at(hint)];
    if (entry.number == hint && std::strcmp(entry.name.c_str(), key) == 0) return hint;
  }
  return keys.find(key);
}

}  // namespace

StateCodec::StateCodec(ParameterStore& store, ParameterInput& way, DocumentHooks& product)
    : values(store), input(way), hooks(product), loadedValues(at(store.count())) {}

JsonTree StateCodec::save(bool isPreset) const {
  JsonTree root(jsonCreateObject());
  JsonWriter members(root.get());
  if (isPreset) {
    saveProgram(root.get(), values.currentProgram());
    return root;
  }
  JsonWriter programList(members.add(documentKey::kPresets, jsonCreateArray()));
  for (std::int32_t i = 0; values.isProgram(i); ++i) {
    saveProgram(programList.add(jsonCreateObject()), i);
  }
  JsonWriter bankList(members.add(documentKey::kBanks, jsonCreateArray()));
  for (std::int32_t i = 0; i < ParameterStore::kNumBanks; ++i) {
    JsonNode* const bank = bankList.add(jsonCreateObject());
    saveBankParameters(bank, i);
    hooks.saveBankExtras(bank, i);
  }
  return root;
}

void StateCodec::saveProgram(JsonNode* object, std::int32_t index) const {
  saveProgramParameters(object, index);
  hooks.saveProgramExtras(object, index);
  const ProgramRecord& program = values.programs()[at(index)];
  JsonWriter(object).add(documentKey::kName, jsonCreateString(program.name.data()));
}

void StateCodec::saveProgramParameters(JsonNode* object, std::int32_t index) const {
  saveParameters(object, values.programs()[at(index)]);
}

void StateCodec::saveBankParameters(JsonNode* object, std::int32_t index) const {
  saveParameters(object, values.banks()[at(index)]);
}

void StateCodec::saveParameters(JsonNode* object, const ProgramRecord& record) const {
  JsonWriter members(object);
  const std::vector<float> stored = copyOf(record);
  const std::vector<float>& usual = values.defaults().values;
  if (std::memcmp(stored.data(), usual.data(), stored.size() * sizeof(float)) == 0) {
    members.add(documentKey::kParameters, jsonCreateString(documentKey::kAllDefault));
    return;
  }
  JsonWriter writer(members.add(documentKey::kParameters, jsonCreateObject()));
  for (std::size_t i = 0; i < stored.size(); ++i) {
    if (static_cast<double>(std::fabs(stored[i] - usual[i])) < kLeastDifference) continue;
    const std::string& key = values.keys().name(static_cast<std::int32_t>(i));
    writer.add(key.c_str(), jsonCreateNumber(static_cast<double>(stored[i])));
  }
}

void StateCodec::load(const JsonNode* root, bool isPreset) {
  hooks.documentLoaded(root);
  if (isPreset) {
    loadPreset(root);
  } else {
    loadFull(root);
  }
}

void StateCodec::loadFull(const JsonNode* root) {
  const Raised loading(input.loading());  // `applyProgram` lowers it earlier
  const JsonNode* const list = jsonGetObjectItem(root, documentKey::kPresets);
  if (list != nullptr) {
    const int stored = jsonGetArraySize(list);
    for (int i = 0; i < stored && values.isProgram(i); ++i) {
      const JsonNode* const program = jsonGetArrayItem(list, i);
      takeName(program, values.programs()[at(i)]);
      loadProgram(program, i);
    }
  } else {
    takeName(root, values.program());
    loadProgram(root, values.currentProgram());
  }
  input.applyProgram(values.currentProgram());
  if (const JsonNode* const bankList = jsonGetObjectItem(root, documentKey::kBanks)) {
    loadBanks(bankList);
  } else if (list != nullptr) {
    for (std::int32_t bank = 0; bank < ParameterStore::kNumBanks; ++bank) input.copyToBank(bank);
  }
  values.selectBank(values.currentBank());  // the program may hold another value of the selector
}

void StateCodec::loadBanks(const JsonNode* list) {
  const int stored = std::min(jsonGetArraySize(list), ParameterStore::kNumBanks);
  for (int i = 0; i < stored; ++i) {
    const JsonNode* const bank = jsonGetArrayItem(list, i);
    loadBankParameters(bank, i);
    hooks.loadBankExtras(bank, i);
  }
}

void StateCodec::loadPreset(const JsonNode* root) {
  takeName(root, values.program());
  // A bank loaded as a preset gives its first program.
  const JsonNode* const list = jsonGetObjectItem(root, documentKey::kPresets);
  const JsonNode* const first = jsonGetArrayItem(list, 0);
  loadProgram(first != nullptr ? first : root, values.currentProgram());
  input.applyProgram(values.currentProgram());
}

/// Takes the name of a document; keeps the program's own if there is none or it is no string.
void StateCodec::takeName(const JsonNode* object, ProgramRecord& program) const {
  const JsonNode* const name = jsonGetObjectItem(object, documentKey::kName);
  if (jsonIsType(name, kJsonString)) program.setName(name->valueString);
}

void StateCodec::loadProgram(const JsonNode* object, std::int32_t index) {
  loadProgramParameters(object, index);
  hooks.loadProgramExtras(object, index);
}

void StateCodec::loadProgramParameters(const JsonNode* object, std::int32_t index) {
  loadParameters(object, values.programs()[at(index)]);
}

void StateCodec::loadBankParameters(const JsonNode* object, std::int32_t index) {
  loadParameters(object, values.banks()[at(index)]);
}

void StateCodec::loadParameters(const JsonNode* object, ProgramRecord& record) {
  std::vector<float>& loaded = loadedValues;
  const std::vector<float>& usual = values.defaults().values;
  std::copy(usual.begin(), usual.end(), loaded.begin());
  const JsonNode* const stored = jsonGetObjectItem(object, documentKey::kParameters);
  std::int32_t hint = 0;
  for (const JsonNode* member = stored != nullptr ? stored->child : nullptr; member != nullptr;
       member = member->next) {
    const std::int32_t index =
        member->key != nullptr ? parameterOf(values.keys(), member->key, hint) : -1;
    hint = index >= 0 ? index + 1 : -1;
    if (!values.contains(index)) continue;
    const float value = hooks.convertLoadedValue(index, member->valueDouble);
    // A value that is not finite could not be stored again.
    if (std::isfinite(value)) loaded[at(index)] = value;
  }
  for (std::size_t i = 0; i < loaded.size(); ++i) storeShared(record.values[i], loaded[i]);
}
