#pragma once

#include <string>

#include "libraries/aax/acf.h"
#include "platform/shared_library.h"

/// The shared object of a plug-in with its seven entry points, loaded while this lives.
class AaxLibrary {
 public:
  /// Throws a std::runtime_error that names the file and the reason.
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
