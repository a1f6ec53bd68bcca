#pragma once

#include <string>

#include "apps/aax_host/aax_library.h"
#include "apps/aax_host/described_plugin.h"

/// A plug-in library loaded, started and registered, until this goes.
class AaxSession {
 public:
  /// Throws std::runtime_error for a library that is none or describes no effect.
  explicit AaxSession(const std::string& path);
  ~AaxSession();
  AaxSession(const AaxSession&) = delete;
  AaxSession& operator=(const AaxSession&) = delete;

  /// Registers with a host and lets go of the definition again; the result.
  ACFRESULT registerWith(HostUnknown& other) const;
  [[nodiscard]] const RecordedCollection& collection() const { return *host.collections.front(); }
  [[nodiscard]] const RecordedEffect& effect() const { return *collection().effects.front(); }

  HostUnknown host;
  const AaxLibrary library;
};
