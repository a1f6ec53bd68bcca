#include "tests/aax_host/aax_library.h"

#include <stdexcept>

AaxLibrary::AaxLibrary(const std::string& path)
    : handle(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) {
  if (handle == nullptr) throw std::runtime_error(dlerror());
  const auto find = [this]<typename Function>(Function& function, const char* name) {
    function = reinterpret_cast<Function>(dlsym(handle.get(), name));
    if (function == nullptr) throw std::runtime_error(dlerror());
  };
  find(registerPlugin, "ACFRegisterPlugin");
  find(registerComponent, "ACFRegisterComponent");
  find(getClassFactory, "ACFGetClassFactory");
  find(canUnloadNow, "ACFCanUnloadNow");
  find(startup, "ACFStartup");
  find(shutdown, "ACFShutdown");
  find(getSdkVersion, "ACFGetSDKVersion");
}
