#pragma once

#include <vector>

#include "host/plug_base.h"
#include "libraries/aax/aax_types.h"

/// The names of a stem format's channels, in the host's order; empty unless it is one of the first
/// eight formats.
[[nodiscard]] std::vector<ChannelLabel> aaxChannelLabels(AAX_EStemFormat format);
