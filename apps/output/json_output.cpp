#include "apps/output/json_output.h"

#include <cmath>
#include <iostream>
#include <new>

void addMember(const JsonTree& object, const char* key, JsonNode* item) {
  if (item == nullptr) throw std::bad_alloc();
  jsonAddItemToObjectConstKey(object.get(), key, item);
}

void addMember(const JsonTree& object, const char* key, double number) {
  addMember(object, key, std::isfinite(number) ? jsonCreateNumber(number) : jsonParse("null"));
}

std::string jsonText(const JsonNode* document) {
  const JsonText text(jsonPrintFormatted(document));
  if (!text) throw std::bad_alloc();
  return std::string(text.get()) + '\n';
}

void printJson(const JsonNode* document) { std::cout << jsonText(document); }
