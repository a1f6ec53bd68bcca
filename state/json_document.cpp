#include "state/json_document.h"

#include <cstring>
#include <limits>
#include <new>

#include "state/json_detail.h"

namespace {

std::int32_t truncated(double value) noexcept {
  using Limits = std::numeric_limits<std::int32_t>;
  if (value != value) return 0;
  if (value <= Limits::min()) return Limits::min();
  if (value >= Limits::max()) return Limits::max();
  return static_cast<std::int32_t>(value);
}

char* copyText(const char* text) noexcept {
  const std::size_t size = std::strlen(text) + 1;
  void* const copy = json_detail::allocate(size);
  return copy ? static_cast<char*>(std::memcpy(copy, text, size)) : nullptr;
}

// Not std::tolower: a host may have set a locale in which it changes bytes above 127.
char lowerCase(char c) noexcept {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool keysMatch(const char* a, const char* b) noexcept {
  if (!a || !b) return false;
  while (*a && lowerCase(*a) == lowerCase(*b)) ++a, ++b;
  return lowerCase(*a) == lowerCase(*b);
}

JsonNode* lastChild(const JsonNode& parent) noexcept {
  JsonNode* last = parent.child;
  while (last && last->next) last = last->next;
  return last;
}

void append(JsonNode& parent, JsonNode& item) noexcept {
  json_detail::linkBehind(parent, lastChild(parent), item);
}

void freeKey(JsonNode& node) noexcept {
  if (!(node.type & jsonKeyIsConst)) std::free(node.key);
}

}  // namespace

JsonNode* json_detail::createNode(std::uint32_t type) noexcept {
  void* const memory = allocate(sizeof(JsonNode));
  if (!memory) return nullptr;
  auto* const node = new (memory) JsonNode{};
  node->type = type;
  return node;
}

void json_detail::setNumber(JsonNode& node, double value) noexcept {
  node.type = kJsonNumber;
  node.valueDouble = value;
  node.valueInt = truncated(value);
}

void json_detail::linkBehind(JsonNode& parent, JsonNode* last, JsonNode& item) noexcept {
  (last ? last->next : parent.child) = &item;
  item.prev = last;
}

void jsonDelete(JsonNode* node) noexcept {
  while (node) {
    JsonNode* const next = node->next;
    if (!(node->type & jsonIsReference)) {
      jsonDelete(node->child);
      std::free(node->valueString);
    }
    freeKey(*node);
    std::free(node);
    node = next;
  }
}

JsonNode* jsonCreateObject() noexcept { return json_detail::createNode(kJsonObject); }

JsonNode* jsonCreateArray() noexcept { return json_detail::createNode(kJsonArray); }

JsonNode* jsonCreateTrue() noexcept {
  JsonNode* const node = json_detail::createNode(kJsonTrue);
  if (node) node->valueInt = 1;
  return node;
}

JsonNode* jsonCreateNumber(double value) noexcept {
  JsonNode* const node = json_detail::createNode(kJsonNumber);
  if (node) json_detail::setNumber(*node, value);
  return node;
}

JsonNode* jsonCreateString(const char* text) noexcept {
  if (!text) return nullptr;
  JsonTree node(json_detail::createNode(kJsonString));
  if (!node || !(node->valueString = copyText(text))) return nullptr;
  return node.release();
}

JsonNode* jsonCreateIntArray(const std::int32_t* values, int count) noexcept {
  JsonTree array(jsonCreateArray());
  if (!array || !values) return array.release();
  JsonNode* last = nullptr;
  for (int i = 0; i < count; ++i) {
    JsonNode* const number = jsonCreateNumber(values[i]);
    if (!number) return nullptr;
    json_detail::linkBehind(*array, last, *number);
    last = number;
  }
  return array.release();
}

JsonNode* jsonCreateReference(const JsonNode* node) noexcept {
  if (!node) return nullptr;
  JsonNode* const reference = json_detail::createNode(node->type);
  if (!reference) return nullptr;
  *reference = *node;
  reference->type |= jsonIsReference;
  reference->key = nullptr;
  reference->next = nullptr;
  reference->prev = nullptr;
  return reference;
}

int jsonGetArraySize(const JsonNode* node) noexcept {
  int size = 0;
  for (const JsonNode* item = node ? node->child : nullptr; item; item = item->next) ++size;
  return size;
}

JsonNode* jsonGetArrayItem(const JsonNode* node, int index) noexcept {
  JsonNode* item = node && index >= 0 ? node->child : nullptr;
  while (item && index-- > 0) item = item->next;
  return item;
}

JsonNode* jsonGetObjectItem(const JsonNode* node, const char* name) noexcept {
  JsonNode* item = node ? node->child : nullptr;
  while (item && !keysMatch(item->key, name)) item = item->next;
  return item;
}

void jsonAddItemToArray(JsonNode* node, JsonNode* item) noexcept {
  if (node && item) append(*node, *item);
}

void jsonAddItemToObject(JsonNode* node, const char* name, JsonNode* item) noexcept {
  if (!node || !name || !item) return;
  // Copied first: `name` may be the key that is about to be freed.
  char* const copy = copyText(name);
  freeKey(*item);
  item->key = copy;
  item->type &= ~jsonKeyIsConst;
  append(*node, *item);
}

void jsonAddItemToObjectConstKey(JsonNode* node, const char* name, JsonNode* item) noexcept {
  if (!node || !name || !item) return;
  freeKey(*item);
  // The flag keeps the text from ever being written or freed through the field.
  item->key = const_cast<char*>(name);
  item->type |= jsonKeyIsConst;
  append(*node, *item);
}

void jsonDeleteItemFromObject(JsonNode* node, const char* name) noexcept {
  JsonNode* const item = jsonGetObjectItem(node, name);
  if (!item) return;
  (item->prev ? item->prev->next : node->child) = item->next;
  if (item->next) item->next->prev = item->prev;
  item->prev = nullptr;
  item->next = nullptr;
  jsonDelete(item);
}
