// The state that an instance stores in a host's session.

#include <cstddef>
#include <cstring>
#include <limits>
#include <new>
#include <string>
#include <string_view>

#include "libraries/lv2_wrap/plugin.h"
#include "platform/index.h"
#include "state/chunk_codec.h"

namespace lv2 {

namespace {

constexpr std::uint32_t kFlags = LV2_STATE_IS_POD | LV2_STATE_IS_PORTABLE;

/// The values of all parameter ports in their order, laid out as a vector atom.
struct PortValues {
  LV2_Atom_Vector_Body head;
  std::array<float, kNumParams> plain;
};
static_assert(sizeof(PortValues) == sizeof(LV2_Atom_Vector_Body) + kNumParams * sizeof(float));

/// The document of a new instance.
std::string newState() {
  Plug fresh(nullptr, Plug::Idle::kCaller);
  std::string document = fresh.document(false);
  if (document.empty()) throw std::bad_alloc();
  return document;
}

}  // namespace

LV2_State_Status Plugin::save(LV2_State_Store_Function store, LV2_State_Handle handle) {
  const Urids& urids = features.urids;
  if (features.map == nullptr) return LV2_STATE_ERR_NO_FEATURE;
  void* chunk = nullptr;
  PortValues values{{sizeof(float), urids.atomFloat}, {}};
  const std::int32_t size = controls.aroundSaving([this, &chunk, &values] {
    for (int place = 0; place < kNumParams; ++place) {
      values.plain[at(place)] = controls.heldByPort(parameterInPlace(place));
    }
    return effect.getChunk(&chunk, false);
  });
  if (size <= 0) return LV2_STATE_ERR_UNKNOWN;
  const LV2_State_Status status =
      store(handle, urids.chunk, chunk, static_cast<std::size_t>(size), urids.atomChunk, kFlags);
  if (status != LV2_STATE_SUCCESS) return status;
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
  if (bytes == nullptr && retrieve(handle, urids.portsOnly, &size, &type, &flags) != nullptr) {
    return LV2_STATE_SUCCESS;
  }
  const auto root =
      bytes != nullptr ? readDocument(std::string_view(bytes, size)) : readDocument(newState());
  if (root == nullptr) {
    lv2_log_error(const_cast<LV2_Log_Logger*>(&features.logger),
                  "Corvanthelis: the stored state is damaged and was not loaded\n");
    return LV2_STATE_ERR_UNKNOWN;
  }
  PortValues values{};
  values.plain.fill(std::numeric_limits<float>::quiet_NaN());
  const bool isStored = bytes != nullptr;
  const void* const ports = retrieve(handle, urids.portValues, &size, &type, &flags);
  if (isStored && ports != nullptr && type == urids.atomVector && size == sizeof values) {
    const auto* const vector = static_cast<const LV2_Atom_Vector_Body*>(ports);
    if (vector->child_type == urids.atomFloat) std::memcpy(&values, ports, size);
  }
  controls.aroundLoading([this, &root, &values] {
    effect.setDocument(root.get(), false);
    for (int place = 0; place < kNumParams; ++place) {
      controls.assumePort(parameterInPlace(place), values.plain[at(place)]);
    }
  });
  effect.updateLatency();
  return LV2_STATE_SUCCESS;
}

}  // namespace lv2
