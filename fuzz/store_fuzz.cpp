#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "state/file_store.h"

namespace {

void require(bool holds) {
  if (!holds) std::abort();
}

bool textsMatch(const char* a, const char* b) { return a && b ? std::strcmp(a, b) == 0 : a == b; }

/// Up to what the printed form of a number leaves out.
void requireSameValue(const JsonNode& a, const JsonNode& b) {
  require(a.type == b.type && textsMatch(a.valueString, b.valueString));
  const double tolerance = 1e-10 + 1e-6 * std::fabs(a.valueDouble);
  require(std::fabs(a.valueDouble - b.valueDouble) <= tolerance);
}

void requireSameList(const JsonNode* a, const JsonNode* b) {
  for (; a && b; a = a->next, b = b->next) {
    require(textsMatch(a->key, b->key));
    requireSameValue(*a, *b);
    requireSameList(a->child, b->child);
  }
  require(!a && !b);
}

/// All members of `before` in their order, but for the first string `name`, which is `text` now.
void requireOnlyChange(const JsonNode& before, const JsonNode& after, const std::string& name,
                       const std::string& text) {
  const JsonNode* now = after.child;
  bool found = false;
  for (const JsonNode* was = before.child; was; was = was->next, now = now->next) {
    require(now && textsMatch(was->key, now->key));
    if (!found && was->type == kJsonString && name == was->key) {
      found = true;
      require(now->type == kJsonString && text == now->valueString);
    } else {
      requireSameValue(*was, *now);
      requireSameList(was->child, now->child);
    }
  }
  if (found) return require(!now);
  require(now && !now->next && name == now->key && text == now->valueString);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string source(data, data + size);
  const JsonTree before = FileStore::parse(source);
  if (!before) return 0;
  // Nothing but white space may follow, or it would be lost.
  require(FileStore::parse(source + "\r\n ") && !FileStore::parse(source + "x"));

  // A name that is there, one that is not, and a text of any bytes.
  const std::string present = before->child ? before->child->key : "";
  const std::string text = source.substr(0, 64);
  for (const std::string& name : {present, present + "\"\\\n\x7f", std::string("globals")}) {
    const JsonTree changed = FileStore::parse(source);
    require(changed != nullptr);
    const JsonTree after = FileStore::parse(FileStore::printWith(*changed, name, text));
    require(after != nullptr);
    require(FileStore::find(*after, name) == text);
    requireOnlyChange(*before, *after, name, text);
  }
  return 0;
}
