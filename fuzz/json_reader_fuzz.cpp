#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "state/json_document.h"

namespace {

void require(bool holds) {
  if (!holds) std::abort();
}

// What is no number prints as null and cannot come back.
bool hasOnlyFiniteNumbers(const JsonNode* list) {
  for (; list; list = list->next) {
    if (!std::isfinite(list->valueDouble) || !hasOnlyFiniteNumbers(list->child)) return false;
  }
  return true;
}

bool textsMatch(const char* a, const char* b) { return a && b ? std::strcmp(a, b) == 0 : a == b; }

// Same shape and texts; a number may lose what its printed form leaves out.
void requireSame(const JsonNode* a, const JsonNode* b, double absolute, double relative) {
  for (; a && b; a = a->next, b = b->next) {
    require(a->type == b->type && textsMatch(a->key, b->key));
    require(textsMatch(a->valueString, b->valueString));
    const double tolerance = absolute + relative * std::fabs(a->valueDouble);
    require(std::fabs(a->valueDouble - b->valueDouble) <= tolerance);
    require(!b->next || b->next->prev == b);
    requireSame(a->child, b->child, absolute, relative);
  }
  require(!a && !b);
}

// The text without its white space outside strings.
std::string compact(const char* text) {
  std::string result;
  bool inString = false;
  for (; *text; ++text) {
    if (*text == '"') inString = !inString;
    const bool isSpace = *text == ' ' || *text == '\t' || *text == '\n';
    if (inString || !isSpace) result += *text;
    if (inString && *text == '\\') result += *++text;
  }
  return result;
}

void checkPrinting(const JsonNode* tree) {
  const JsonText formatted(jsonPrintFormatted(tree));
  const JsonText unformatted(jsonPrintUnformatted(tree));
  require(formatted && unformatted);
  require(compact(formatted.get()) == unformatted.get());
  const JsonTree fromFormatted(jsonParse(formatted.get()));
  const JsonTree fromUnformatted(jsonParse(unformatted.get()));
  require(fromFormatted && fromUnformatted);
  if (!hasOnlyFiniteNumbers(tree)) return;
  requireSame(fromFormatted.get(), fromUnformatted.get(), 0.0, 0.0);
  requireSame(tree, fromFormatted.get(), 1e-10, 1e-6);

  const JsonText formattedAgain(jsonPrintFormatted(fromUnformatted.get()));
  const JsonText unformattedAgain(jsonPrintUnformatted(fromFormatted.get()));
  require(formattedAgain && unformattedAgain);
  require(compact(formattedAgain.get()) == unformattedAgain.get());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // A heap block of its own, so that one byte read too many is seen.
  const JsonText text(static_cast<char*>(std::malloc(size + 1)));
  if (size > 0) std::memcpy(text.get(), data, size);
  text.get()[size] = 0;

  const JsonTree tree(jsonParse(text.get()));
  const char* const error = jsonGetErrorPtr();
  require((tree == nullptr) == (error != nullptr));
  if (error) require(error >= text.get() && error <= text.get() + std::strlen(text.get()));
  const auto inPlace = jsonReadInPlace(text.get());
  require((tree == nullptr) == (inPlace == nullptr));
  if (tree && hasOnlyFiniteNumbers(tree.get())) requireSame(tree.get(), inPlace.get(), 0.0, 0.0);
  if (tree) checkPrinting(tree.get());
  return 0;
}
