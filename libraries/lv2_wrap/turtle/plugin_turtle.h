#pragma once

#include <string>

#include "libraries/lv2_wrap/port_layout.h"

namespace lv2 {

/// The whole file that describes one plug-in and all of its ports.
[[nodiscard]] std::string pluginTurtle(const PortLayout& plugin);

}  // namespace lv2
