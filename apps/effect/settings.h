#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// One value for one parameter, in the unit the user gave it in.
struct Setting {
  std::int32_t parameter;  ///< 0..421
  bool isNormalised;       ///< else plain
  float value;             ///< within the parameter's range
};

/// The number of the parameter called `identifier` ("kB1Threshold"). Throws `WrongArguments` with
/// the nearest known identifiers if there is none.
[[nodiscard]] std::int32_t parameterNumber(std::string_view identifier);

/// The sentence about an identifier that no parameter has. Names the nearest ones, but not to what
/// is far longer than any of them: the comparison would take its time.
[[nodiscard]] std::string unknownParameter(std::string_view identifier);

/// The identifier of parameter `number`.
[[nodiscard]] std::string parameterIdentifier(std::int32_t number);

/// Up to three known identifiers, nearest first, by edit distance whatever their case.
[[nodiscard]] std::vector<std::string> nearestIdentifiers(std::string_view text);

/// `plain` (finite) within the range of `parameter`; a change is told as a sentence to `warnings`.
[[nodiscard]] float plainInRange(std::int32_t parameter, double plain,
                                 std::vector<std::string>& warnings);

/// Reads "ID=VALUE". Throws `WrongArguments` for an unknown ID and for a value that is no finite
/// number; a value out of range is brought into it and told to `warnings`.
[[nodiscard]] Setting parseSetting(std::string_view text, bool isNormalised,
                                   std::vector<std::string>& warnings);
