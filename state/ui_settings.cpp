#include "state/ui_settings.h"

#include <cmath>
#include <cstdio>
#include <cstring>

#include "state/json_memory.h"

namespace {

JsonTree copyOf(const JsonNode& node) {
  JsonTree copy(made(node.valueString ? jsonCreateString(node.valueString) : jsonCreateObject()));
  copy->type = node.type & kJsonTypeMask;
  copy->valueInt = node.valueInt;
  copy->valueDouble = node.valueDouble;
  for (const JsonNode* child = node.child; child; child = child->next) {
    JsonTree item = copyOf(*child);
    if (child->key) {
      addToObject(*copy, child->key, item.release());
    } else {
      jsonAddItemToArray(copy.get(), item.release());
    }
  }
  return copy;
}

// Documents are written in the order of the table, so the first try usually succeeds.
const JsonNode* findMember(const JsonNode* object, int expectedIndex, const char* name) {
  if (!name) return nullptr;
  const JsonNode* const expected = jsonGetArrayItem(object, expectedIndex);
  if (expected && expected->key && std::strcmp(expected->key, name) == 0) return expected;
  return jsonGetObjectItem(object, name);
}

JsonNode* findValue(const JsonTree& table, std::string_view group, std::string_view key) {
  const JsonNode* const entries = jsonGetObjectItem(table.get(), std::string(group).c_str());
  return jsonGetObjectItem(jsonGetObjectItem(entries, std::string(key).c_str()), "value");
}

UiOption optionOf(const JsonNode& group, const JsonNode& entry) {
  const auto member = [&entry](const char* name) { return jsonGetObjectItem(&entry, name); };
  const auto number = [&member](const char* name) {
    const JsonNode* const node = member(name);
    return node ? node->valueDouble : 0.0;
  };
  const auto isSet = [&member](const char* name) {
    const JsonNode* const node = member(name);
    return node && !jsonIsType(node, kJsonFalse);
  };
  UiOption option;
  option.group = textOf(group.key);
  option.key = textOf(entry.key);
  option.value = number("value");
  option.values = textsOf(member("values"));
  if (const JsonNode* const unit = member("unit")) option.unit = textOf(unit->valueString);
  option.min = number("min");
  option.max = number("max");
  option.hidden = isSet("hidden");
  option.isColour = isSet("colour");
  return option;
}

}  // namespace

UiSettings::UiSettings(const char* text) : table(parsedJson(text)) {
  if (table) return;
  JsonFault fault;
  static_cast<void>(JsonTree(jsonParse(text, fault)));
  std::fprintf(stderr, "uiprefs error ptr:\n\n%s\n", fault.position ? fault.position : "");
}

void UiSettings::set(JsonNode& value, std::int32_t valueInt, double valueDouble) {
  if (!jsonIsType(&value, kJsonNumber) || value.valueInt != valueInt ||
      value.valueDouble != valueDouble) {
    changes.fetch_add(1, std::memory_order_relaxed);
  }
  value.type = (value.type & ~kJsonTypeMask) | kJsonNumber;
  value.valueInt = valueInt;
  value.valueDouble = valueDouble;
}

double UiSettings::getUiValue(std::string_view group, std::string_view key) const {
  const PlugBaseMutex::Scope lock(mutex);
  const JsonNode* const value = findValue(table, group, key);
  return value ? value->valueDouble : 0.0;
}

void UiSettings::setUiValue(std::string_view group, std::string_view key, double value) {
  const JsonTree number(made(jsonCreateNumber(value)));
  const PlugBaseMutex::Scope lock(mutex);
  JsonNode* const target = findValue(table, group, key);
  if (target) set(*target, number->valueInt, number->valueDouble);
}

std::vector<UiOption> UiSettings::list() const {
  const PlugBaseMutex::Scope lock(mutex);
  std::vector<UiOption> all;
  for (const JsonNode* group = table ? table->child : nullptr; group; group = group->next) {
    for (const JsonNode* entry = group->child; entry; entry = entry->next) {
      if (entry->key) all.push_back(optionOf(*group, *entry));
    }
  }
  return all;
}

JsonTree UiSettings::save() const {
  const PlugBaseMutex::Scope lock(mutex);
  return table ? copyOf(*table) : nullptr;
}

void UiSettings::merge(const JsonNode* uiprefs) {
  const PlugBaseMutex::Scope lock(mutex);
  int index = 0;
  for (const JsonNode* group = table ? table->child : nullptr; group; group = group->next) {
    mergeGroup(*group, findMember(uiprefs, index++, group->key));
  }
}

void UiSettings::mergeGroup(const JsonNode& group, const JsonNode* stored) {
  int index = 0;
  for (const JsonNode* entry = group.child; entry; entry = entry->next, ++index) {
    JsonNode* const target = jsonGetObjectItem(entry, "value");
    const JsonNode* const source =
        jsonGetObjectItem(findMember(stored, index, entry->key), "value");
    // A number that is not finite could not be stored again.
    if (!target || !source || !std::isfinite(source->valueDouble)) continue;
    const bool isNumber = jsonIsType(source, kJsonNumber);
    set(*target, isNumber ? source->valueInt : 0, isNumber ? source->valueDouble : 0.0);
  }
}
