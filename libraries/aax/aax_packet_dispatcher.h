#pragma once

#include <mutex>
#include <set>
#include <string>

#include "libraries/aax/aax_types.h"

/// Remembers which parameters have changed since somebody last looked. Any thread but the audio
/// thread. A null identifier is never marked.
class AAX_CPacketDispatcher {
 public:
  void SetDirty(AAX_CParamID id, bool isDirty);
  [[nodiscard]] bool IsDirty(AAX_CParamID id) const;

 private:
  mutable std::mutex mutex;
  std::set<std::string, std::less<>> dirty;
};
