// What an instance stores in a host's session.

#include <cstddef>
#include <cstring>
#include <limits>
#include <string_view>

#include "libraries/lv2_wrap/plugin.h"
#include "state/chunk_codec.h"

namespace lv2 {

namespace {

constexpr auto kAlone = std::memory_order_relaxed;
constexpr std::uint32_t kFlags = LV2_STATE_IS_POD | LV2_STATE_IS_PORTABLE;

std::size_t at(int id) noexcept { return static_cast<std::size_t>(id); }

/// The values of all ports by place, as a vector atom holds them.
struct PortValues {
  LV2_Atom_Vector_Body head;
  std::array<float, kNumParams> plain;
};
static_assert(sizeof(PortValues) == sizeof(LV2_Atom_Vector_Body) + kNumParams * sizeof(float));

}  // namespace

LV2_State_Status Plugin::save(LV2_State_Store_Function store, LV2_State_Handle handle) {
  const Urids& urids = features.urids;
  if (features.map == nullptr) return LV2_STATE_ERR_NO_FEATURE;
  controls.deliver();
  void* chunk = nullptr;
  const std::int32_t size = effect.getChunk(&chunk, false);
  if (size <= 0) return LV2_STATE_ERR_UNKNOWN;
  const LV2_State_Status status =
      store(handle, urids.chunk, chunk, static_cast<std::size_t>(size), urids.atomChunk, kFlags);
  if (status != LV2_STATE_SUCCESS) return status;
  PortValues values{{sizeof(float), urids.atomFloat}, {}};
  for (int place = 0; place < kNumParams; ++place) {
    values.plain[at(place)] = controls.portValue(parameterInPlace(place));
  }
  return store(handle, urids.portValues, &values, sizeof values, urids.atomVector, kFlags);
}

LV2_State_Status Plugin::restore(LV2_State_Retrieve_Function retrieve, LV2_State_Handle handle) {
  const Urids& urids = features.urids;
  if (features.map == nullptr) return LV2_STATE_ERR_NO_FEATURE;
  std::size_t size = 0;
  std::uint32_t type = 0;
  std::uint32_t flags = 0;
  const auto* bytes = static_cast<const char*>(retrieve(handle, urids.chunk, &size, &type, &flags));
  if (bytes != nullptr && type != urids.atomChunk) return LV2_STATE_ERR_BAD_TYPE;
  const std::string_view chunk = bytes != nullptr ? std::string_view(bytes, size) : newState;
  if (chunk.size() > std::numeric_limits<std::int32_t>::max() || !holdsDocument(chunk)) {
    lv2_log_error(const_cast<LV2_Log_Logger*>(&features.logger),
                  "Corvanthelis: the stored state is damaged and was not loaded\n");
    return LV2_STATE_ERR_UNKNOWN;
  }
  controls.aroundLoading([this, chunk] {
    effect.setChunk(chunk.data(), static_cast<std::int32_t>(chunk.size()), false);
  });
  effect.updateLatency();
  const void* const ports = retrieve(handle, urids.portValues, &size, &type, &flags);
  PortValues values{};
  if (bytes != nullptr && ports != nullptr && type == urids.atomVector && size == sizeof values) {
    std::memcpy(&values, ports, size);
  }
  rememberPorts(values.head.child_type == urids.atomFloat ? values.plain.data() : nullptr);
  return LV2_STATE_SUCCESS;
}

/// `plainValues` by place; null where it is not known what the ports held: then all are news.
void Plugin::rememberPorts(const float* plainValues) {
  for (int place = 0; place < kNumParams; ++place) {
    const float plain =
        plainValues != nullptr ? plainValues[place] : std::numeric_limits<float>::quiet_NaN();
    storedPorts[at(parameterInPlace(place))].store(plain, kAlone);
  }
  restored.store(true, std::memory_order_release);
}

}  // namespace lv2
