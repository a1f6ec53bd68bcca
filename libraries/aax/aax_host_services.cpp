#include "libraries/aax/aax_host_services.h"

#include <cstring>
#include <mutex>

#include "libraries/aax/acf_reference.h"

namespace {

// Never destroyed: when the library is unloaded, the host may be gone already.
constinit std::mutex mutex;
constinit AAX_IHostServices* services = nullptr;

}  // namespace

void AAX_CHostServices::Set(IACFUnknown* host) noexcept {
  AAX_IHostServices* next = nullptr;
  try {
    next = acfQuery<AAX_IHostServices>(host, IID_AAX_IHostServices).detach();
  } catch (...) {
    // If the host throws, nothing can be logged.
    next = nullptr;
  }
  {
    const std::lock_guard guard(mutex);
    std::swap(services, next);
  }
  if (next != nullptr) next->Release();
}

void AAX_CHostServices::HandleAssertFailure(const char* file, std::int32_t line,
                                            const char* note) noexcept {
  AcfReference<AAX_IHostServices> held;
  {
    const std::lock_guard guard(mutex);
    if (services == nullptr) return;
    services->AddRef();
    held = AcfReference<AAX_IHostServices>::adopt(services);
  }
  const char* const slash = std::strrchr(file, '/');
  held->HandleAssertFailure(slash != nullptr ? slash + 1 : file, line, note);
}
