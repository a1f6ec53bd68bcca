#include "libraries/aax_wrap/aaxwrap_host_callback.h"

#include <atomic>

#include "libraries/aax/aax_guard.h"
#include "libraries/aax_wrap/aaxwrap_parameters.h"

namespace {

AAXWrap_Parameters* adapterOf(AEffect* effect) noexcept {
  if (effect == nullptr) return nullptr;
  // Pairs with the store at the end of the adapter's constructor.
  void* const user = std::atomic_ref<void*>(effect->user).load(std::memory_order_acquire);
  return static_cast<AAXWrap_Parameters*>(user);
}

void tellSdk(AAXWrap_Parameters& adapter, std::int32_t opcode, std::int32_t index, float opt) {
  switch (opcode) {
    case kHostAutomate:
      adapter.automate(index, opt);
      break;
    case kHostIoChanged:
      adapter.latencyChanged();
      break;
    case kHostVendorSpecific:
      if (index == kProgramChanged) adapter.takeEffectValues();
      break;
    case kHostBeginEdit:
      adapter.touch(index);
      break;
    case kHostEndEdit:
      adapter.release(index);
      break;
    default:
      break;
  }
}

}  // namespace

std::intptr_t aaxHostCallback(AEffect* effect, std::int32_t opcode, std::int32_t index,
                              std::intptr_t /*value*/, void* ptr, float opt) noexcept {
  AAXWrap_Parameters* const adapter = adapterOf(effect);
  const bool offline = adapter != nullptr && adapter->isRenderingOffline();
  if (opcode == kHostVersion) return kInterfaceVersion;
  if (opcode == kHostProcessLevel) return offline ? kProcessLevelOffline : kProcessLevelRealtime;
  if (adapter == nullptr) return 0;
  if (opcode == kHostGetTime) return reinterpret_cast<std::intptr_t>(&adapter->timeInfo);
  if (opcode == kHostProcessEvents) {
    adapter->queueMidiOut(static_cast<const VstEvents*>(ptr));
    return 0;
  }
  aaxGuarded([&] {
    tellSdk(*adapter, opcode, index, opt);
    return AAX_SUCCESS;
  });
  return 0;
}
