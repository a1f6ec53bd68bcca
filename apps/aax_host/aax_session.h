#pragma once

#include <string>

#include "apps/aax_host/aax_library.h"
#include "apps/aax_host/described_plugin.h"

/// A plug-in library that is loaded, started and registered while this lives.
class AaxSession {
 public:
  /// Throws std::runtime_error if the file is no plug-in library or describes no effect.
  explicit AaxSession(const std::string& path);
  ~AaxSession();
  AaxSession(const AaxSession&) = delete;
  AaxSession& operator=(const AaxSession&) = delete;

  /// Registers the library with another host, releases the definition and returns the result.
  ACFRESULT registerWith(HostUnknown& other) const;
  [[nodiscard]] const RecordedCollection& collection() const { return *host.collections.front(); }
  [[nodiscard]] const RecordedEffect& effect() const { return *collection().effects.front(); }

  HostUnknown host;
  const AaxLibrary library;
};
