#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/plug.h"
#include "core/value_reading.h"

/// A value for a parameter, normalised or plain as the user gave it.
struct Setting {
  std::int32_t parameter;  ///< 0..421
  bool isNormalised;       ///< if false, `value` is plain
  float value;             ///< within the parameter's range
};

/// The number of the parameter called `identifier` ("kB1Threshold"). Throws `WrongArguments` with
/// the nearest known identifiers if there is none.
[[nodiscard]] std::int32_t parameterNumber(std::string_view identifier);

/// A sentence about an identifier that no parameter has. It names the nearest ones, unless the
/// identifier is so long that comparing would take too much time.
[[nodiscard]] std::string unknownParameter(std::string_view identifier);

/// The identifier of parameter `number`.
[[nodiscard]] std::string parameterIdentifier(std::int32_t number);

/// Up to three known identifiers, nearest first, by case-insensitive edit distance.
[[nodiscard]] std::vector<std::string> nearestIdentifiers(std::string_view text);

/// The plain value of `parameter` that `text` stands for (see `readValue`). Throws
/// `WrongArguments`, with the texts that there are, if it stands for none. A value out of range is
/// clamped, with a sentence in `warnings`.
[[nodiscard]] float readPlain(std::int32_t parameter, std::string_view text,
                              const ValueTextContext& context, std::vector<std::string>& warnings);

/// Reads "ID=VALUE" with a value as for `readPlain`, by the present settings of `plug`, or a number
/// from 0 to 1. Throws `WrongArguments` for an unknown ID or value. A value out of range is
/// clamped, with a sentence in `warnings`.
[[nodiscard]] Setting parseSetting(std::string_view text, bool isNormalised, const Plug& plug,
                                   std::vector<std::string>& warnings);
