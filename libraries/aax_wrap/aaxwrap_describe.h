#pragma once

#include "libraries/aax/aax_descriptors.h"

/// Tells the host what this library holds: one effect, for mono and for stereo. A call that fails
/// is logged and the description goes on; without an effect descriptor the result is
/// `AAX_ERROR_NULL_OBJECT`, else success.
[[nodiscard]] AAX_Result aaxDescribe(AAX_ICollection& collection);
