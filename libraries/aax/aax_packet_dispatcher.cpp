#include "libraries/aax/aax_packet_dispatcher.h"

#include <string_view>

void AAX_CPacketDispatcher::SetDirty(AAX_CParamID id, bool isDirty) {
  if (id == nullptr) return;
  const std::lock_guard guard(mutex);
  const auto found = dirty.find(std::string_view(id));
  if (found != dirty.end()) {
    found->second = isDirty;
  } else {
    dirty.emplace(id, isDirty);
  }
}

bool AAX_CPacketDispatcher::IsDirty(AAX_CParamID id) const {
  if (id == nullptr) return false;
  const std::lock_guard guard(mutex);
  const auto found = dirty.find(std::string_view(id));
  return found != dirty.end() && found->second;
}
