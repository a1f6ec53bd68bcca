#pragma once

#include <map>
#include <mutex>
#include <string>

#include "libraries/aax/aax_types.h"

/// Remembers which parameters have changed since somebody last looked. Any thread but the audio
/// thread. A null identifier is never marked. One that has been marked or cleared before needs no
/// memory any more.
class AAX_CPacketDispatcher {
 public:
  void SetDirty(AAX_CParamID id, bool isDirty);
  [[nodiscard]] bool IsDirty(AAX_CParamID id) const;

 private:
  mutable std::mutex mutex;
  std::map<std::string, bool, std::less<>> dirty;
};
