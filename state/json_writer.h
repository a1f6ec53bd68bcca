#pragma once

#include "state/json_document.h"

/// Appends to one object or array, each item in constant time, where the document's own calls walk
/// all siblings. Nobody else appends meanwhile. Throws std::bad_alloc for a null parent or item, so
/// that a document is whole or not there at all.
class JsonWriter {
 public:
  explicit JsonWriter(JsonNode* parent);

  /// Takes `item`. `key` (null in an array) must outlive it. Returns `item`.
  JsonNode* add(const char* key, JsonNode* item);
  JsonNode* add(JsonNode* item) { return add(nullptr, item); }

 private:
  JsonNode* const parent;
  JsonNode* last = nullptr;
};
