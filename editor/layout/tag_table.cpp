#include "editor/layout/tag_table.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

#include "core/parameter_table.h"

namespace {

// One enumeration, the parameters first. Its last entry has a number that a parameter has, too, and
// which belongs to that one.
std::string wholeEnumeration() {
  return std::string(parameterEnumeration()) + "," + std::string(kGuiTagEnumeration) +
         ",kNumPrograms=1";
}

std::int32_t readNumber(const std::string& text) {
  using Limits = std::numeric_limits<std::int32_t>;
  const long long number = std::strtoll(text.c_str(), nullptr, 10);
  return static_cast<std::int32_t>(std::clamp<long long>(number, Limits::min(), Limits::max()));
}

std::string_view nameIn(std::string_view entry) noexcept {
  const auto isSpace = [](char c) { return static_cast<unsigned char>(c) <= ' '; };
  const auto* const begin = std::find_if_not(entry.begin(), entry.end(), isSpace);
  const auto* const end = std::find_if(begin, entry.end(), isSpace);
  return entry.substr(static_cast<std::size_t>(begin - entry.begin()),
                      static_cast<std::size_t>(end - begin));
}

}  // namespace

TagTable::TagTable(std::string_view enumeration) {
  std::uint32_t counter = 0;
  for (std::size_t begin = 0; begin <= enumeration.size();) {
    const std::size_t comma = std::min(enumeration.find(',', begin), enumeration.size());
    const std::string_view entry = enumeration.substr(begin, comma - begin);
    const std::size_t equals = entry.find('=');
    if (equals != std::string_view::npos) {
      counter = static_cast<std::uint32_t>(readNumber(std::string(entry.substr(equals + 1))));
    }
    names.emplace_back(nameIn(entry.substr(0, equals)));
    values.push_back(static_cast<std::int32_t>(counter++));
    begin = comma + 1;
  }
}

std::int32_t TagTable::find(std::string_view name) const noexcept {
  const auto found = std::ranges::find(names, name);
  return found == names.end() ? -1 : values[static_cast<std::size_t>(found - names.begin())];
}

std::string_view TagTable::nameOf(std::int32_t value) const noexcept {
  const auto found = std::ranges::find(values, value);
  if (found == values.end()) return {};
  return names[static_cast<std::size_t>(found - values.begin())];
}

const TagTable& tagTable() {
  static const TagTable table(wholeEnumeration());
  return table;
}
