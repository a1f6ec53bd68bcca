#include "state/globals.h"

#include <cmath>
#include <utility>

#include "state/json_memory.h"

namespace {

constexpr const char* kStoreName = "globals";

/// Parses an object whose numbers can all be stored again; null for any other text.
JsonTree parseObject(const char* text) {
  JsonTree tree = parsedJson(text);
  if (!jsonIsType(tree.get(), kJsonObject)) tree.reset();
  for (JsonNode* member = tree ? tree->child : nullptr; member; member = member->next) {
    if (!std::isfinite(member->valueDouble)) member->valueDouble = member->valueInt;
  }
  return tree;
}

/// The stored choices; null if the text holds none.
JsonTree choicesIn(const std::optional<std::string>& text) {
  JsonTree choices = text ? parseObject(text->c_str()) : nullptr;
  if (choices && !choices->child) choices.reset();
  return choices;
}

std::string printed(const JsonTree& tree) {
  return JsonText(made(jsonPrintUnformatted(tree.get()))).get();
}

void setNumber(JsonNode& object, const char* key, std::int32_t value) {
  JsonNode* const member = jsonGetObjectItem(&object, key);
  if (!member) return addToObject(object, key, jsonCreateNumber(value));
  member->type = (member->type & ~kJsonTypeMask) | kJsonNumber;
  member->valueInt = value;
  member->valueDouble = value;
}

JsonTree defaultChoices(const JsonNode* table) {
  JsonTree choices(made(jsonCreateObject()));
  for (const JsonNode* entry = table ? table->child : nullptr; entry; entry = entry->next) {
    const JsonNode* const value = jsonGetObjectItem(entry, "value");
    if (value) addToObject(*choices, entry->key, jsonCreateNumber(value->valueInt));
  }
  return choices;
}

const JsonNode* memberOfItem(const JsonTree& table, int index, const char* name) {
  return jsonGetObjectItem(jsonGetArrayItem(table.get(), index), name);
}

}  // namespace

Globals::Globals(UserStore& userStore)
    : store(userStore), values(choicesIn(userStore.read(kStoreName))) {}

void Globals::initGlobals(const char* text) {
  {
    const std::lock_guard lock(mutex);
    if (!defaults || text == nullptr || defaultsText != text) {
      JsonTree table = parseObject(text);
      if (!table) return;
      defaultsText = text;
      defaults = std::move(table);
    }
    if (values) return;
  }
  // Without waiting: the first change of a value stores all of them anyway.
  store.updateIfFree(kStoreName, [this](const auto& stored) { return storeDefaults(stored); });
  const std::lock_guard lock(mutex);
  // A store that is busy or cannot be opened does not call `storeDefaults`.
  if (!values) values = defaultChoices(defaults.get());
}

std::optional<std::string> Globals::storeDefaults(const std::optional<std::string>& stored) {
  JsonTree choices = choicesIn(stored);
  const std::lock_guard lock(mutex);
  const bool meanwhileStored = choices != nullptr;
  if (!meanwhileStored) choices = defaultChoices(defaults.get());
  auto text = meanwhileStored ? std::nullopt : std::optional(printed(choices));
  values = std::move(choices);
  return text;
}

std::int32_t Globals::getGlobal(const char* key) const {
  const std::lock_guard lock(mutex);
  return find(key);
}

std::int32_t Globals::getGlobal(const char* key, std::int32_t absent) const {
  const std::lock_guard lock(mutex);
  return values ? find(key) : absent;
}

std::int32_t Globals::find(const char* key) const {
  if (const JsonNode* const choice = jsonGetObjectItem(values.get(), key)) return choice->valueInt;
  if (!defaults) return 0;
  const JsonNode* const entry = jsonGetObjectItem(defaults.get(), key);
  if (!entry) return -2;
  const JsonNode* const value = jsonGetObjectItem(entry, "value");
  return value ? value->valueInt : -3;
}

void Globals::setGlobal(const char* key, std::int32_t value) {
  if (!key) return;
  {
    const std::lock_guard lock(mutex);
    unsaved[key] = value;
  }
  Choices taken;
  try {
    const auto change = [&](const auto& stored) { return storeChoices(stored, taken); };
    if (store.update(kStoreName, change)) return;
  } catch (const std::bad_alloc&) {
    // Treated like a store that cannot be written.
  }
  const std::lock_guard lock(mutex);
  unsaved.merge(taken);
  apply(unsaved);
}

// Called under the store's lock, so that threads take results in the order in which they are
// stored.
std::optional<std::string> Globals::storeChoices(const std::optional<std::string>& stored,
                                                 Choices& taken) {
  JsonTree merged = choicesIn(stored);
  const std::lock_guard lock(mutex);
  unsaved.merge(taken);  // a store may call this twice
  taken = std::exchange(unsaved, {});
  if (merged) values = std::move(merged);
  apply(taken);
  return printed(values);
}

void Globals::apply(const Choices& choices) {
  if (!values) values.reset(made(jsonCreateObject()));
  for (const auto& [key, value] : choices) setNumber(*values, key.c_str(), value);
}

std::vector<Preference> Globals::list() const {
  const std::lock_guard lock(mutex);
  std::vector<Preference> all;
  for (const JsonNode* entry = defaults ? defaults->child : nullptr; entry; entry = entry->next) {
    const JsonNode* const page = jsonGetObjectItem(entry, "page");
    all.push_back({textOf(entry->key), find(entry->key), page ? page->valueInt : 0,
                   textsOf(jsonGetObjectItem(entry, "values"))});
  }
  return all;
}

int Globals::getGroupCount() const {
  const std::lock_guard lock(mutex);
  return jsonGetArraySize(defaults.get());
}

std::string Globals::getGroupName(int index) const {
  const std::lock_guard lock(mutex);
  const JsonNode* const entry = jsonGetArrayItem(defaults.get(), index);
  return entry ? textOf(entry->key) : "";
}

int Globals::getGroupValueCount(int index) const {
  const std::lock_guard lock(mutex);
  return jsonGetArraySize(memberOfItem(defaults, index, "values"));
}

std::string Globals::getGroupValue(int index, int value) const {
  const std::lock_guard lock(mutex);
  const JsonNode* const text = jsonGetArrayItem(memberOfItem(defaults, index, "values"), value);
  return text ? textOf(text->valueString) : "";
}

int Globals::getGroupPage(int index) const {
  const std::lock_guard lock(mutex);
  const JsonNode* const page = memberOfItem(defaults, index, "page");
  return page ? page->valueInt : 0;
}
