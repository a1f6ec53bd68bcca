#include "apps/aax_host/aax_library.h"

AaxLibrary::AaxLibrary(const std::string& path) : library(path) {
  library.find(registerPlugin, "ACFRegisterPlugin");
  library.find(registerComponent, "ACFRegisterComponent");
  library.find(getClassFactory, "ACFGetClassFactory");
  library.find(canUnloadNow, "ACFCanUnloadNow");
  library.find(startup, "ACFStartup");
  library.find(shutdown, "ACFShutdown");
  library.find(getSdkVersion, "ACFGetSDKVersion");
}
