#include "host/parameter_keys.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <numeric>
#include <optional>
#include <utility>

namespace {

std::string withoutSpace(std::string_view text) {
  std::string kept;
  for (const char c : text) {
    if (std::string_view(" \t\r\n\v\f").find(c) == std::string_view::npos) kept += c;
  }
  return kept;
}

std::optional<std::int32_t> parseNumber(std::string_view text) {
  std::int32_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

}  // namespace

ParameterKeys::ParameterKeys(std::string_view enumeration) {
  std::int64_t next = 0;
  while (!enumeration.empty()) {
    const std::size_t comma = std::min(enumeration.find(','), enumeration.size());
    addEntry(enumeration.substr(0, comma), next);
    enumeration.remove_prefix(std::min(comma + 1, enumeration.size()));
  }
  byName.resize(entries.size());
  std::iota(byName.begin(), byName.end(), std::size_t{0});
  byNumber = byName;
  // Stable, so that the first of equals is found.
  std::ranges::stable_sort(byName, {},
                           [this](std::size_t i) -> std::string_view { return entries[i].name; });
  std::ranges::stable_sort(byNumber, {}, [this](std::size_t i) { return entries[i].number; });
  isInOrder = std::ranges::none_of(
      byName, [this](std::size_t i) { return std::cmp_not_equal(entries[i].number, i); });
}

void ParameterKeys::addEntry(std::string_view text, std::int64_t& next) {
  const std::string entry = withoutSpace(text);
  const std::string_view view = entry;
  const std::size_t equals = std::min(view.find('='), view.size());
  if (equals == 0) return;
  if (equals < view.size()) {
    if (const auto number = parseNumber(view.substr(equals + 1))) next = *number;
  }
  if (next > std::numeric_limits<std::int32_t>::max()) return;
  entries.push_back({std::string(view.substr(0, equals)), static_cast<std::int32_t>(next)});
  ++next;
}

const std::string& ParameterKeys::name(std::int32_t number) const noexcept {
  static const std::string none;
  if (isInOrder) {
    const bool isIn = number >= 0 && std::cmp_less(number, entries.size());
    return isIn ? entries[static_cast<std::size_t>(number)].name : none;
  }
  const auto numberOf = [this](std::size_t i) { return entries[i].number; };
  const auto found = std::ranges::lower_bound(byNumber, number, {}, numberOf);
  return found != byNumber.end() && entries[*found].number == number ? entries[*found].name : none;
}

std::int32_t ParameterKeys::find(std::string_view wanted) const noexcept {
  const auto nameOf = [this](std::size_t i) -> std::string_view { return entries[i].name; };
  const auto found = std::ranges::lower_bound(byName, wanted, {}, nameOf);
  return found != byName.end() && entries[*found].name == wanted ? entries[*found].number : -1;
}
