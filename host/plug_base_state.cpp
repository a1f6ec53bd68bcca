// The state as a whole: one thread at a time.

#include "host/plug_base.h"

PlugBase::StateScope::StateScope(PlugBase& plug) : held(plug) {
  held.stateMutex.lock();
  isOutermost = held.outermostScope == nullptr;
  if (!isOutermost) return;
  held.outermostScope = this;
  held.stateOwner.store(std::this_thread::get_id(), relaxed);
}

PlugBase::StateScope::~StateScope() {
  if (isOutermost) {
    held.stateOwner.store({}, relaxed);
    held.outermostScope = nullptr;
  }
  held.stateMutex.unlock();
  if (isOutermost) tellHost();
}

bool PlugBase::StateScope::keep(std::int32_t opcode, std::int32_t index) noexcept {
  switch (opcode) {
    case kHostAutomate:
      if (held.isParameter(index)) automated.set(static_cast<std::size_t>(index));
      return true;
    case kHostBeginEdit:
    case kHostEndEdit:  // gestures are told with the values
      return true;
    case kHostVendorSpecific:
      programChanged = programChanged || index == kProgramChanged;
      return index == kProgramChanged;
    case kHostIoChanged:
      latencyChanged = true;
      return true;
    default:
      return false;
  }
}

void PlugBase::StateScope::tellHost() {
  if (programChanged) held.tellHostVendorSpecific(kProgramChanged, 0);
  if (automated.any()) {
    const UpdateBatch batch(held);  // for what the host sends back
    for (std::int32_t i = 0; i < held.parameterCount(); ++i) {
      if (automated.test(static_cast<std::size_t>(i))) held.tellInGesture(i);
    }
  }
  if (latencyChanged) held.ioChanged();
}

bool PlugBase::keepsMessage(std::int32_t opcode, std::int32_t index) noexcept {
  // Nobody but the thread itself makes it the owner, so that its own look is never late.
  return stateOwner.load(relaxed) == std::this_thread::get_id() &&
         outermostScope->keep(opcode, index);
}
