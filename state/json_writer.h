#pragma once

#include "state/json_document.h"

/// Appends to one object or array, each item in constant time; `jsonAddItemToArray` and the like
/// walk all siblings. Nothing else may append meanwhile. Throws std::bad_alloc for a null parent or
/// item, so that a document is never incomplete.
class JsonWriter {
 public:
  explicit JsonWriter(JsonNode* parent);

  /// Appends `item`, takes ownership and returns it. `key` (null in an array) must outlive it.
  JsonNode* add(const char* key, JsonNode* item);
  JsonNode* add(JsonNode* item) { return add(nullptr, item); }

 private:
  JsonNode* const parent;
  JsonNode* last = nullptr;
};
