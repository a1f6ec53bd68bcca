#include "state/json_writer.h"

#include <new>

namespace {

JsonNode* present(JsonNode* node) {
  if (node == nullptr) throw std::bad_alloc();
  return node;
}

}  // namespace

JsonWriter::JsonWriter(JsonNode* node) : parent(present(node)) {
  for (JsonNode* child = parent->child; child != nullptr; child = child->next) last = child;
}

JsonNode* JsonWriter::add(const char* key, JsonNode* item) {
  present(item);
  if (key != nullptr) {
    item->key = const_cast<char*>(key);
    item->type |= jsonKeyIsConst;
  }
  item->prev = last;
  (last == nullptr ? parent->child : last->next) = item;
  last = item;
  return item;
}
