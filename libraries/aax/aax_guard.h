#pragma once

#include "libraries/aax/aax_types.h"
#include "libraries/aax/acf.h"

/// Returns the result of `call`; `ACF_E_UNEXPECTED` if it throws, since no exception may reach the
/// host.
template <typename Call>
AAX_Result aaxGuarded(const Call& call) noexcept {
  try {
    return call();
  } catch (...) {
    return ACF_E_UNEXPECTED;
  }
}
