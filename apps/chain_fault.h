#pragma once

#include <optional>
#include <string>

#include "core/plug.h"

/// Says why the signal does not run through a band, 0 to 7, that is on as its settings say, and
/// what would help; nothing where it does, or where the band is off.
[[nodiscard]] std::optional<std::string> chainFault(Plug& plug, int band);
