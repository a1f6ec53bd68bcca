#pragma once

#include <map>
#include <mutex>
#include <string>

#include "libraries/aax/aax_types.h"

/// Remembers which parameters have changed since they were last cleared. Any thread but the audio
/// thread. A null identifier is never marked. Only the first call for an identifier allocates.
class AAX_CPacketDispatcher {
 public:
  void SetDirty(AAX_CParamID id, bool isDirty);
  [[nodiscard]] bool IsDirty(AAX_CParamID id) const;

 private:
  mutable std::mutex mutex;
  std::map<std::string, bool, std::less<>> dirty;
};
