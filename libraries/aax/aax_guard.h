#pragma once

#include "libraries/aax/aax_types.h"
#include "libraries/aax/acf.h"

/// The result of `call`; `ACF_E_UNEXPECTED` for an exception, which must not reach the host.
template <typename Call>
AAX_Result aaxGuarded(const Call& call) noexcept {
  try {
    return call();
  } catch (...) {
    return ACF_E_UNEXPECTED;
  }
}
