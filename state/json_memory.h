#pragma once

#include <new>
#include <string>
#include <utility>
#include <vector>

#include "state/json_document.h"

// The document answers null where memory runs out. What stores and loads must not take that for an
// empty document, a damaged one or none: these throw.

/// What the document has made; throws std::bad_alloc for null.
template <typename Made>
[[nodiscard]] Made* made(Made* result) {
  if (result == nullptr) throw std::bad_alloc();
  return result;
}

/// As `jsonParse`: null for null and for a text with a fault. Throws std::bad_alloc.
[[nodiscard]] inline JsonTree parsedJson(const char* text) {
  JsonFault fault;
  JsonTree root(jsonParse(text, fault));
  if (root == nullptr && text != nullptr && fault.position == nullptr) throw std::bad_alloc();
  return root;
}

/// Appends `item`, which has no key yet, under a copy of `key`. Throws std::bad_alloc for a null
/// item and when there is no memory for the key, with the object as it was.
inline void addToObject(JsonNode& object, const char* key, JsonNode* item) {
  JsonTree held(made(item));
  const JsonTree name(made(jsonCreateString(key)));
  held->key = std::exchange(name->valueString, nullptr);
  jsonAddItemToArray(&object, held.release());
}

/// Empty for null.
[[nodiscard]] inline std::string textOf(const char* text) { return text != nullptr ? text : ""; }

/// The texts of an array.
[[nodiscard]] inline std::vector<std::string> textsOf(const JsonNode* array) {
  std::vector<std::string> texts;
  for (const JsonNode* item = array != nullptr ? array->child : nullptr; item != nullptr;
       item = item->next) {
    texts.push_back(textOf(item->valueString));
  }
  return texts;
}
