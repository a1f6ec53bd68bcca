#pragma once

#include <array>
#include <cstddef>
#include <string_view>
#include <vector>

/// One complete set of parameter values: a program, an A/B bank, the defaults and the band template
/// are each one of these.
struct ProgramRecord {
  static constexpr std::size_t kNameCapacity = 64;  ///< bytes, with the terminating zero

  std::array<char, kNameCapacity> name{"None"};
  std::vector<float> values;  ///< normalised 0..1, in parameter order

  /// Takes at most 63 bytes of `text`; never cuts a UTF-8 character in two.
  void setName(std::string_view text) noexcept;
};
