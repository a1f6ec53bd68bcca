// The function through which a host finds the plug-ins.

#include <lv2/core/lv2.h>
#include <lv2/state/state.h>
#include <lv2/worker/worker.h>

#include <array>
#include <cstring>
#include <new>

#include "libraries/lv2_wrap/plugin.h"

namespace {

lv2::Plugin& plugin(LV2_Handle instance) noexcept { return *static_cast<lv2::Plugin*>(instance); }

/// Returns the result of `call`; `failure` if it throws (most likely because memory has run out),
/// since no exception may reach the host.
template <typename Answer, typename Call>
Answer guarded(Answer failure, const Call& call) noexcept {
  try {
    return call();
  } catch (...) {
    return failure;
  }
}

LV2_Handle instantiate(const LV2_Descriptor* descriptor, double rate, const char* /*bundle*/,
                       const LV2_Feature* const* features) {
  return guarded(LV2_Handle{}, [=]() -> LV2_Handle {
    lv2::HostFeatures host = lv2::readFeatures(features);
    for (const lv2::PortLayout& layout : lv2::kPlugins) {
      if (std::strcmp(layout.uri, descriptor->URI) != 0) continue;
      if (isSampleRate(rate)) return new lv2::Plugin(layout, rate, host);
      lv2_log_error(&host.logger, "Corvanthelis: %g Hz is no sample rate\n", rate);
    }
    return nullptr;
  });
}

void connectPort(LV2_Handle instance, std::uint32_t port, void* data) {
  plugin(instance).connectPort(port, data);
}

void activate(LV2_Handle instance) {
  guarded(false, [=] {
    plugin(instance).activate();
    return true;
  });
}

void run(LV2_Handle instance, std::uint32_t frames) { plugin(instance).run(frames); }

void cleanup(LV2_Handle instance) { delete &plugin(instance); }

LV2_State_Status save(LV2_Handle instance, LV2_State_Store_Function store, LV2_State_Handle handle,
                      std::uint32_t /*flags*/, const LV2_Feature* const* /*features*/) {
  return guarded(LV2_STATE_ERR_UNKNOWN, [=] { return plugin(instance).save(store, handle); });
}

LV2_State_Status restore(LV2_Handle instance, LV2_State_Retrieve_Function retrieve,
                         LV2_State_Handle handle, std::uint32_t /*flags*/,
                         const LV2_Feature* const* /*features*/) {
  return guarded(LV2_STATE_ERR_UNKNOWN, [=] { return plugin(instance).restore(retrieve, handle); });
}

LV2_Worker_Status work(LV2_Handle instance, LV2_Worker_Respond_Function /*respond*/,
                       LV2_Worker_Respond_Handle /*handle*/, std::uint32_t /*size*/,
                       const void* /*data*/) {
  return guarded(LV2_WORKER_ERR_UNKNOWN, [=] {
    plugin(instance).work();
    return LV2_WORKER_SUCCESS;
  });
}

/// Nothing to do: the effect takes the results of a job by itself.
LV2_Worker_Status workResponse(LV2_Handle /*instance*/, std::uint32_t /*size*/,
                               const void* /*body*/) {
  return LV2_WORKER_SUCCESS;
}

const void* extensionData(const char* uri) {
  static constexpr LV2_State_Interface kState = {&save, &restore};
  static constexpr LV2_Worker_Interface kWorker = {&work, &workResponse, nullptr};
  if (std::strcmp(uri, LV2_STATE__interface) == 0) return &kState;
  if (std::strcmp(uri, LV2_WORKER__interface) == 0) return &kWorker;
  return nullptr;
}

constexpr LV2_Descriptor describe(const lv2::PortLayout& layout) {
  return {layout.uri, &instantiate, &connectPort, &activate,
          &run,       nullptr,      &cleanup,     &extensionData};
}

constexpr std::array<LV2_Descriptor, lv2::kPlugins.size()> kDescriptors = {
    describe(lv2::kPlugins[0]), describe(lv2::kPlugins[1]), describe(lv2::kPlugins[2]),
    describe(lv2::kPlugins[3])};

}  // namespace

LV2_SYMBOL_EXPORT const LV2_Descriptor* lv2_descriptor(std::uint32_t index) {
  return index < kDescriptors.size() ? &kDescriptors[index] : nullptr;
}
