#include "toolkit/kept_resources.h"

#include <atomic>

#include "toolkit/bitmap.h"
#include "toolkit/face.h"

namespace {

std::atomic<int> keepers{0};

}  // namespace

KeptResources::KeptResources() noexcept { keepers.fetch_add(1, std::memory_order_relaxed); }

KeptResources::~KeptResources() {
  if (keepers.fetch_sub(1, std::memory_order_acq_rel) > 1) return;
  CBitmap::giveUpLoaded();
  Face::giveUpLoaded();
}
