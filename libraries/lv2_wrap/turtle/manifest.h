#pragma once

#include <span>
#include <string>

#include "libraries/lv2_wrap/turtle/preset_turtle.h"

namespace lv2 {

/// The file that hosts read first in every bundle: it names the files of plug-ins and presets.
[[nodiscard]] std::string manifestTurtle(std::span<const FactoryPreset> presets);

}  // namespace lv2
