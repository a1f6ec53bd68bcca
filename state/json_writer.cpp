#include "state/json_writer.h"

#include "state/json_memory.h"

JsonWriter::JsonWriter(JsonNode* node) : parent(made(node)) {
  for (JsonNode* child = parent->child; child != nullptr; child = child->next) last = child;
}

JsonNode* JsonWriter::add(const char* key, JsonNode* item) {
  static_cast<void>(made(item));
  if (key != nullptr) {
    item->key = const_cast<char*>(key);
    item->type |= jsonKeyIsConst;
  }
  item->prev = last;
  (last == nullptr ? parent->child : last->next) = item;
  last = item;
  return item;
}
