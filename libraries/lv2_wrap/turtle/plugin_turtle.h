#pragma once

#include <string>

#include "libraries/lv2_wrap/port_layout.h"

namespace lv2 {

/// The file that describes one plug-in and all its ports.
[[nodiscard]] std::string pluginTurtle(const PortLayout& plugin);

}  // namespace lv2
