#pragma once

#include <array>
#include <cstddef>
#include <string_view>
#include <vector>

/// One complete set of parameter values. A program, an A/B bank, the defaults and the band template
/// are each such a record.
struct ProgramRecord {
  static constexpr std::size_t kNameCapacity = 64;  ///< bytes, with the terminating zero

  std::array<char, kNameCapacity> name{"None"};
  std::vector<float> values;  ///< normalised 0..1, in parameter order

  /// Keeps at most 63 bytes of `text` and never splits a UTF-8 character.
  void setName(std::string_view text) noexcept;
};
