#include "state/ui_settings.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <utility>

#include "state/json_memory.h"

namespace {

// Documents are written in the order of the table, so the first try usually succeeds.
const JsonNode* findMember(const JsonNode* object, int expectedIndex, const char* name) {
  if (!name) return nullptr;
  const JsonNode* const expected = jsonGetArrayItem(object, expectedIndex);
  if (expected && expected->key && std::strcmp(expected->key, name) == 0) return expected;
  return jsonGetObjectItem(object, name);
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
  option.values = textsOf(member("values"));
  if (const JsonNode* const unit = member("unit")) option.unit = textOf(unit->valueString);
  option.min = number("min");
  option.max = number("max");
  option.hidden = isSet("hidden");
  option.isColour = isSet("colour");
  return option;
}

}  // namespace

UiTable::UiTable(const char* text) : root(text ? jsonReadInPlace(text) : nullptr) {
  if (root == nullptr) {
    JsonFault fault;
    static_cast<void>(JsonTree(jsonParse(text, fault)));
    std::fprintf(stderr, "uiprefs error ptr:\n\n%s\n", fault.position ? fault.position : "");
  }
  for (const JsonNode* group = root ? root->child : nullptr; group; group = group->next) {
    for (const JsonNode* entry = group->child; entry; entry = entry->next) {
      if (const JsonNode* const value = jsonGetObjectItem(entry, "value")) values.push_back(value);
    }
  }
}

UiSettings::UiSettings(std::shared_ptr<const UiTable> options) : table(std::move(options)) {
  values.reserve(table->values.size());
  for (const JsonNode* value : table->values) {
    values.push_back({value->type & kJsonTypeMask, value->valueInt, value->valueDouble});
  }
}

/// Past the end for null.
std::size_t UiSettings::placeOf(const JsonNode* valueNode) const noexcept {
  const auto found = std::ranges::find(table->values, valueNode);
  return static_cast<std::size_t>(found - table->values.begin());
}

std::size_t UiSettings::find(std::string_view group, std::string_view key) const {
  const JsonNode* const entries = jsonGetObjectItem(table->root.get(), std::string(group).c_str());
  const JsonNode* const entry = jsonGetObjectItem(entries, std::string(key).c_str());
  return placeOf(jsonGetObjectItem(entry, "value"));
}

void UiSettings::set(Value& value, std::int32_t valueInt, double valueDouble) {
  if (value.type != kJsonNumber || value.valueInt != valueInt || value.valueDouble != valueDouble) {
    changes.fetch_add(1, std::memory_order_relaxed);
  }
  value = {kJsonNumber, valueInt, valueDouble};
}

double UiSettings::getUiValue(std::string_view group, std::string_view key) const {
  const PlugBaseMutex::Scope lock(mutex);
  const std::size_t place = find(group, key);
  return place < values.size() ? values[place].valueDouble : 0.0;
}

void UiSettings::setUiValue(std::string_view group, std::string_view key, double value) {
  const JsonTree number(made(jsonCreateNumber(value)));
  const PlugBaseMutex::Scope lock(mutex);
  const std::size_t place = find(group, key);
  if (place < values.size()) set(values[place], number->valueInt, number->valueDouble);
}

std::vector<UiOption> UiSettings::list() const {
  const PlugBaseMutex::Scope lock(mutex);
  std::vector<UiOption> all;
  const JsonNode* group = table->root ? table->root->child : nullptr;
  for (; group; group = group->next) {
    for (const JsonNode* entry = group->child; entry; entry = entry->next) {
      if (!entry->key) continue;
      all.push_back(optionOf(*group, *entry));
      const std::size_t place = placeOf(jsonGetObjectItem(entry, "value"));
      if (place < values.size()) all.back().value = values[place].valueDouble;
    }
  }
  return all;
}

JsonTree UiSettings::save() const {
  const PlugBaseMutex::Scope lock(mutex);
  std::size_t nextPlace = 0;
  return table->root ? copyOf(*table->root, nextPlace) : nullptr;
}

/// A copy of a part of the table with the present values; `nextPlace` is that of its first value.
JsonTree UiSettings::copyOf(const JsonNode& node, std::size_t& nextPlace) const {
  JsonTree copy(made(node.valueString ? jsonCreateString(node.valueString) : jsonCreateObject()));
  const bool isValue = nextPlace < values.size() && table->values[nextPlace] == &node;
  const Value own{node.type & kJsonTypeMask, node.valueInt, node.valueDouble};
  const Value& value = isValue ? values[nextPlace++] : own;
  copy->type = value.type;
  copy->valueInt = value.valueInt;
  copy->valueDouble = value.valueDouble;
  for (const JsonNode* child = node.child; child; child = child->next) {
    JsonTree item = copyOf(*child, nextPlace);
    if (child->key) {
      addToObject(*copy, child->key, item.release());
    } else {
      jsonAddItemToArray(copy.get(), item.release());
    }
  }
  return copy;
}

void UiSettings::merge(const JsonNode* uiprefs) {
  const PlugBaseMutex::Scope lock(mutex);
  int index = 0;
  const JsonNode* group = table->root ? table->root->child : nullptr;
  for (; group; group = group->next) {
    mergeGroup(*group, findMember(uiprefs, index++, group->key));
  }
}

void UiSettings::mergeGroup(const JsonNode& group, const JsonNode* stored) {
  int index = 0;
  for (const JsonNode* entry = group.child; entry; entry = entry->next, ++index) {
    const std::size_t target = placeOf(jsonGetObjectItem(entry, "value"));
    const JsonNode* const source =
        jsonGetObjectItem(findMember(stored, index, entry->key), "value");
    // A number that is not finite could not be stored again.
    if (target >= values.size() || !source || !std::isfinite(source->valueDouble)) continue;
    const bool isNumber = jsonIsType(source, kJsonNumber);
    set(values[target], isNumber ? source->valueInt : 0, isNumber ? source->valueDouble : 0.0);
  }
}
