#pragma once

#include <memory>

#include "core/plug.h"

/// An instance on a machine of its own whose engine never hears of anything: what it stores and
/// loads is what is looked at.
struct IdlePlug {
  Machine machine{std::make_unique<MemoryStore>(), {}};
  Plug plug{nullptr, Plug::Idle::kCaller, &monotonicMilliseconds, machine};
  UpdateHold hold{plug.updates()};
};
