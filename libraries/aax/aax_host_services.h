#pragma once

#include <cstdint>

#include "libraries/aax/aax_host.h"

/// The host's log, for all instances of the process. Any thread but the audio thread.
class AAX_CHostServices {
 public:
  /// Keeps the services that `host` hands out, if any, in place of those before. Null lets go.
  static void Set(IACFUnknown* host) noexcept;
  /// Goes nowhere while there are no services. Of `file` the name alone is told.
  static void HandleAssertFailure(const char* file, std::int32_t line, const char* note) noexcept;
};
