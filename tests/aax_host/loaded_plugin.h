#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "tests/aax_host/aax_library.h"
#include "tests/aax_host/described_plugin.h"
#include "tests/aax_host/hosted_instance.h"

/// Where the library under test lies.
inline std::string libraryPath;

/// The MIDI controller that moves `kIpTrim`, by the settings that the plug-in reads when it is
/// loaded.
inline constexpr unsigned char kMappedController = 20;

/// Registers with `host` and lets go of the definition again; the result.
ACFRESULT registerWith(const AaxLibrary& library, HostUnknown& host);

/// The library loaded and started, with what it describes, until this goes.
struct Session {
  explicit Session(HostUnknown& host);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;
  [[nodiscard]] const RecordedCollection& collection() const { return *host.collections.front(); }
  [[nodiscard]] const RecordedEffect& effect() const { return *collection().effects.front(); }

  HostUnknown& host;
  const AaxLibrary library{libraryPath};
};

/// Tests of one session.
class LoadedPlugin : public testing::Test {
 protected:
  static void SetUpTestSuite();
  static void TearDownTestSuite() { session.reset(); }
  static const RecordedEffect& effect() { return session->effect(); }

  static inline HostUnknown host;
  static inline std::unique_ptr<Session> session;
};
