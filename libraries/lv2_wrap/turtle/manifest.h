#pragma once

#include <span>
#include <string>

#include "libraries/lv2_wrap/turtle/preset_turtle.h"

namespace lv2 {

/// The file that hosts read of every bundle: where the plug-ins and the presets are told of.
[[nodiscard]] std::string manifestTurtle(std::span<const FactoryPreset> presets);

}  // namespace lv2
