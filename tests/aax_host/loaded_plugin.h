#pragma once

#include <gtest/gtest.h>

#include <optional>

#include "apps/aax_host/aax_session.h"
#include "apps/aax_host/hosted_instance.h"

/// Where the built library lies.
extern const char* const kBuiltLibrary;

/// Tests of one session of the built library.
class LoadedPlugin : public testing::Test {
 protected:
  static void SetUpTestSuite() { session.emplace(kBuiltLibrary); }
  static void TearDownTestSuite() { session.reset(); }
  static const RecordedEffect& effect() { return session->effect(); }

  static inline std::optional<AaxSession> session;
};
