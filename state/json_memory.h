#pragma once

#include <new>
#include <string>
#include <utility>
#include <vector>

#include "state/json_document.h"

// The JSON functions return null when memory runs out. Code that stores and loads must not mistake
// that for an empty, damaged or missing document: the functions below throw instead.

/// Returns `result`, made by a JSON function; throws std::bad_alloc if it is null.
template <typename Made>
[[nodiscard]] Made* made(Made* result) {
  if (result == nullptr) throw std::bad_alloc();
  return result;
}

/// See `jsonParse`: null for null and for a text with a fault. Throws std::bad_alloc.
[[nodiscard]] inline JsonTree parsedJson(const char* text) {
  JsonFault fault;
  JsonTree root(jsonParse(text, fault));
  if (root == nullptr && text != nullptr && fault.position == nullptr) throw std::bad_alloc();
  return root;
}

/// Appends `item`, which has no key yet, under a copy of `key`. Throws std::bad_alloc, with the
/// object unchanged, if `item` is null or memory runs out.
inline void addToObject(JsonNode& object, const char* key, JsonNode* item) {
  JsonTree held(made(item));
  const JsonTree name(made(jsonCreateString(key)));
  held->key = std::exchange(name->valueString, nullptr);
  jsonAddItemToArray(&object, held.release());
}

/// The text; empty for null.
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
