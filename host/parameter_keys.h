#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// Identifiers and their numbers, split from an enumeration text such as "kIpTrim=0,kOpTrim,
/// kB1State".
///
/// `name=number` sets the running counter; any other entry takes the next number, and so does one
/// whose number cannot be read. White space and empty entries are ignored. Immutable once built:
/// any thread.
class ParameterKeys {
 public:
  struct Entry {
    std::string name;
    std::int32_t number;
  };

  explicit ParameterKeys(std::string_view enumeration);

  /// The name of a number: empty if no entry has it, the first in text order if several do.
  [[nodiscard]] const std::string& name(std::int32_t number) const noexcept;
  /// The number of a name, which must match exactly; -1 if there is none. Logarithmic in the size.
  [[nodiscard]] std::int32_t find(std::string_view name) const noexcept;

  // Entries in text order.
  [[nodiscard]] std::size_t size() const noexcept { return entries.size(); }
  [[nodiscard]] const Entry& operator[](std::size_t position) const { return entries[position]; }

 private:
  void addEntry(std::string_view text, std::int64_t& next);

  std::vector<Entry> entries;
  std::vector<std::size_t> byName;  // positions in `entries`
  std::vector<std::size_t> byNumber;
  bool isInOrder = false;  // each entry's number is its position
};
