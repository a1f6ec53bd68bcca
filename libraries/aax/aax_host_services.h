#pragma once

#include <cstdint>

#include "libraries/aax/aax_host.h"

/// The host's log, for all instances of the process. Any thread but the audio thread.
class AAX_CHostServices {
 public:
  /// Replaces the services by those that `host` provides, if any. Null releases them.
  static void Set(IACFUnknown* host) noexcept;
  /// Does nothing while there are no services. Only the name of `file` is logged, not its folder.
  static void HandleAssertFailure(const char* file, std::int32_t line, const char* note) noexcept;
};
