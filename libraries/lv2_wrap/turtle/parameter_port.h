#pragma once

#include <string>
#include <vector>

#include "libraries/lv2_wrap/port_layout.h"
#include "libraries/lv2_wrap/turtle/turtle_text.h"

/// Parameters as control ports. Ports carry plain values, in the unit of the parameter's label.
namespace lv2 {

/// The value with the fewest digits near `plain` that is `normalised` to the effect, or `plain` if
/// none is: what went through 0..1 comes back as 0.99999905 where 1 was meant.
[[nodiscard]] float roundPlain(int id, float plain, float normalised);

struct ScalePoint {
  float value;        ///< plain
  std::string label;  ///< as the product shows the value
};

/// Values of a parameter that have a text of their own: all of a choice, the named ones of a range,
/// the stops of a ratio. Rising, no label twice; empty for plain numbers and switches.
[[nodiscard]] std::vector<ScalePoint> scalePoints(int id);

/// What is to be said of the port of the parameter in `place` 0..421.
[[nodiscard]] Statements parameterPort(const PortLayout& plugin, int place);

/// What is said once per file for the ports to refer to: the groups of parameters and our own unit.
[[nodiscard]] std::string parameterDefinitions(const PortLayout& plugin);

}  // namespace lv2
