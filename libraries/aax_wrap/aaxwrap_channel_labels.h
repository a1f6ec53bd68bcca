#pragma once

#include <vector>

#include "host/plug_base.h"
#include "libraries/aax/aax_types.h"

/// The names of the channels of a stem format, in the host's order; empty for a format that is none
/// of the first eight.
[[nodiscard]] std::vector<ChannelLabel> aaxChannelLabels(AAX_EStemFormat format);
