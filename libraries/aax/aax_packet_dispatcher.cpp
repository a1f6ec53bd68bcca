#include "libraries/aax/aax_packet_dispatcher.h"

#include <string_view>

void AAX_CPacketDispatcher::SetDirty(AAX_CParamID id, bool isDirty) {
  if (id == nullptr) return;
  const std::lock_guard guard(mutex);
  const auto found = dirty.find(std::string_view(id));
  if (isDirty == (found != dirty.end())) return;
  if (isDirty) {
    dirty.emplace(id);
  } else {
    dirty.erase(found);
  }
}

bool AAX_CPacketDispatcher::IsDirty(AAX_CParamID id) const {
  if (id == nullptr) return false;
  const std::lock_guard guard(mutex);
  return dirty.find(std::string_view(id)) != dirty.end();
}
