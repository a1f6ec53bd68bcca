#include "apps/aax_host/aax_session.h"

#include <stdexcept>

AaxSession::AaxSession(const std::string& path) : library(path) {
  ACFRESULT result = library.startup(host.unknown());
  if (result == ACF_OK) result = registerWith(host);
  if (result == ACF_OK && !host.collections.empty() && !collection().effects.empty()) return;
  library.shutdown(host.unknown());
  throw std::runtime_error(path + ": describes no effect: result " + std::to_string(result));
}

AaxSession::~AaxSession() { library.shutdown(host.unknown()); }

ACFRESULT AaxSession::registerWith(HostUnknown& other) const {
  IACFPluginDefinition* definition = nullptr;
  const ACFRESULT result = library.registerPlugin(other.unknown(), &definition);
  if (definition != nullptr) definition->Release();
  return (definition != nullptr) == (result == ACF_OK) ? result : ACF_E_POINTER;
}
