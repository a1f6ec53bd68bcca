#include "state/user_store.h"

#include <utility>

bool UserStore::write(std::string_view name, std::string text) {
  return update(name, [&text](const std::optional<std::string>&) { return text; });
}

std::optional<std::string> MemoryStore::read(std::string_view name) {
  const std::scoped_lock lock(mutex);
  const auto found = texts.find(name);
  if (found == texts.end() || found->second.empty()) return std::nullopt;
  return found->second;
}

bool MemoryStore::update(std::string_view name, const Change& change) {
  const std::scoped_lock lock(mutex);
  const auto found = texts.find(name);
  const bool isThere = found != texts.end() && !found->second.empty();
  std::optional<std::string> text = change(isThere ? std::optional(found->second) : std::nullopt);
  if (text) texts.insert_or_assign(std::string(name), std::move(*text));
  return true;
}
