#include "apps/json_members.h"

#include <cmath>
#include <new>

void addMember(const JsonTree& object, const char* key, JsonNode* item) {
  if (item == nullptr) throw std::bad_alloc();
  jsonAddItemToObjectConstKey(object.get(), key, item);
}

void addMember(const JsonTree& object, const char* key, double number) {
  addMember(object, key, std::isfinite(number) ? jsonCreateNumber(number) : jsonParse("null"));
}
