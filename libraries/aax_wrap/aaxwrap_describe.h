#pragma once

#include "libraries/aax/aax_descriptors.h"

/// Describes the contents of this library to the host: one effect, for mono and for stereo. Calls
/// that fail are logged and the description continues. Returns `AAX_ERROR_NULL_OBJECT` if the host
/// makes no effect descriptor, otherwise success.
[[nodiscard]] AAX_Result aaxDescribe(AAX_ICollection& collection);
