#pragma once

#include <string>

#include "libraries/aax/acf.h"
#include "platform/shared_library.h"

/// The shared object of a plug-in with its seven entry points, loaded as long as this lives.
class AaxLibrary {
 public:
  /// Throws std::runtime_error that names the file and what is wrong with it.
  explicit AaxLibrary(const std::string& path);

 private:
  SharedLibrary library;

 public:
  ACFRegisterPluginProc registerPlugin = nullptr;
  ACFRegisterComponentProc registerComponent = nullptr;
  ACFGetClassFactoryProc getClassFactory = nullptr;
  ACFCanUnloadNowProc canUnloadNow = nullptr;
  ACFStartupProc startup = nullptr;
  ACFShutdownProc shutdown = nullptr;
  ACFGetSDKVersionProc getSdkVersion = nullptr;
};
