#include "apps/state/state_texts.h"

#include <cstdint>
#include <new>
#include <utility>

#include "apps/effect/settings.h"
#include "apps/output/failure.h"
#include "core/parameter_table.h"
#include "host/parameter_store.h"

namespace {

/// Gives `node` the value of `made`; its name and its place stay.
void become(JsonNode& node, const JsonTree& made) {
  if (made == nullptr) throw std::bad_alloc();
  std::swap(node.type, made->type);
  std::swap(node.valueString, made->valueString);
  std::swap(node.valueInt, made->valueInt);
  std::swap(node.valueDouble, made->valueDouble);
}

/// The values of a program, bank or band, with their nodes.
class TextSet {
 public:
  TextSet(const StoredSet& set, bool isBand)
      : place(set.place), isPlain(isBand), values(kParameterTable, parameterKeyTable(), 1) {
    if (!jsonIsType(set.object, kJsonObject)) return;
    const JsonNode* const stored = jsonGetObjectItem(
        set.object, isBand ? documentKey::kBandParameters : documentKey::kParameters);
    if (!jsonIsType(stored, kJsonObject)) return;
    for (JsonNode* node = stored->child; node != nullptr; node = node->next) {
      const std::int32_t number = parameterKeyTable().find(node->key);
      if (!values.contains(number)) continue;
      entries.emplace_back(number, node);
      if (jsonIsType(node, kJsonNumber)) values.store(number, position(number, *node));
    }
  }

  /// Whether any text has become a number.
  bool readTexts(std::vector<std::string>& faults) {
    std::vector<std::string> untold;
    for (const auto& [number, node] : entries) read(number, *node, untold);
    bool isChanged = false;
    // Once more, since all texts have now told what others depend on.
    for (const auto& [number, node] : entries) {
      if (!read(number, *node, faults)) continue;
      const float stored = isPlain ? values.plain(number) : values.normalised(number);
      become(*node, JsonTree(jsonCreateNumber(static_cast<double>(stored))));
      isChanged = true;
    }
    return isChanged;
  }

  void showTexts() {
    for (const auto& [number, node] : entries) {
      const float shown = values.normalised(number);
      if (!jsonIsType(node, kJsonNumber) || position(number, *node) != shown) continue;
      const std::string text = valueText(number, values.plain(number), values.info(number),
                                         valueTextContext(values, number), false);
      become(*node, JsonTree(jsonCreateString(text.c_str())));
    }
  }

 private:
  [[nodiscard]] float position(std::int32_t number, const JsonNode& node) const {
    const auto value = static_cast<float>(node.valueDouble);
    return isPlain ? values.toNormalised(number, value) : value;
  }

  /// Stores the value of a text; false for what is none.
  bool read(std::int32_t number, const JsonNode& node, std::vector<std::string>& faults) {
    if (!jsonIsType(&node, kJsonString)) return false;
    std::vector<std::string> warnings;
    try {
      const ValueTextContext context = valueTextContext(values, number);
      const float plain = readPlain(number, node.valueString, context, warnings);
      values.store(number, values.toNormalised(number, plain));
    } catch (const WrongArguments&) {
      return false;  // told with the other faults of the document
    }
    for (const std::string& warning : warnings) faults.push_back(place + ": " + warning);
    return true;
  }

  std::string place;
  bool isPlain;
  ParameterStore values;
  std::vector<std::pair<std::int32_t, JsonNode*>> entries;
};

}  // namespace

StateDocument readDocument(const std::string& path) {
  StateDocument document = readStateDocument(path);
  bool isChanged = false;
  for (const StoredSet& set : storedSets(document)) {
    TextSet texts(set, document.kind == StateKind::kBand);
    isChanged = texts.readTexts(document.textFaults) || isChanged;
  }
  if (isChanged) document.text = printedText(document);
  return document;
}

void showValueTexts(StateDocument& document) {
  for (const StoredSet& set : storedSets(document)) {
    TextSet(set, document.kind == StateKind::kBand).showTexts();
  }
}
