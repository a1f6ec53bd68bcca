#include "tests/aax_host/aax_library.h"

#include <dlfcn.h>

#include <stdexcept>

namespace {

std::string lastReason() {
  const char* const reason = dlerror();
  return reason != nullptr ? reason : "no reason given";
}

}  // namespace

AaxLibrary::AaxLibrary(const std::string& file)
    : path(file), handle(dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL)) {
  if (handle == nullptr) throw std::runtime_error(path + ": cannot be loaded: " + lastReason());
  try {
    find(registerPlugin, "ACFRegisterPlugin");
    find(registerComponent, "ACFRegisterComponent");
    find(getClassFactory, "ACFGetClassFactory");
    find(canUnloadNow, "ACFCanUnloadNow");
    find(startup, "ACFStartup");
    find(shutdown, "ACFShutdown");
    find(getSdkVersion, "ACFGetSDKVersion");
  } catch (...) {
    dlclose(handle);
    throw;
  }
}

AaxLibrary::~AaxLibrary() { dlclose(handle); }

template <typename Function>
void AaxLibrary::find(Function& function, const char* name) {
  function = reinterpret_cast<Function>(dlsym(handle, name));
  if (function == nullptr) {
    throw std::runtime_error(path + ": no AAX plug-in: it has no entry point " + name);
  }
}

bool AaxLibrary::isLoaded(const std::string& file) {
  void* const found = dlopen(file.c_str(), RTLD_NOW | RTLD_NOLOAD);
  if (found != nullptr) dlclose(found);
  return found != nullptr;
}
