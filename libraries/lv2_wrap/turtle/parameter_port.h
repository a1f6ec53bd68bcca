#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "libraries/lv2_wrap/port_layout.h"
#include "libraries/lv2_wrap/turtle/turtle_text.h"

/// Parameters as control ports. Ports carry plain values, in the unit of the parameter's label.
namespace lv2 {

/// The value with the fewest digits near `plain` that the effect maps to `normalised`; `plain` if
/// there is none. Undoes rounding: a 1 that went through 0..1 comes back as 0.99999905.
[[nodiscard]] float roundPlain(int id, float plain, float normalised);

struct ScalePoint {
  float value;        ///< plain
  std::string label;  ///< as the effect shows the value
};

/// The values of a parameter that have a text of their own: all of a choice, the named ones of a
/// range, the stops of a ratio. Ascending, without repeated labels; empty for plain numbers and
/// switches.
[[nodiscard]] std::vector<ScalePoint> scalePoints(int id);

/// The statements about the port of the parameter at `place` 0..421.
[[nodiscard]] Statements parameterPort(const PortLayout& plugin, int place);

// Symbols of the groups of parameters.
inline constexpr std::string_view kGlobalSymbol = "global";
[[nodiscard]] std::string bandSymbol(int band);
/// The group as an object of a port's statement.
[[nodiscard]] std::string parameterGroupUri(const PortLayout& plugin, std::string_view symbol);

/// Definitions that the ports of a file refer to: the groups of parameters and our own unit.
[[nodiscard]] std::string parameterDefinitions(const PortLayout& plugin);

}  // namespace lv2
