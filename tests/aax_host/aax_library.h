#pragma once

#include <string>

#include "libraries/aax/acf.h"

/// The shared object of a plug-in with its seven entry points, loaded as long as this lives.
class AaxLibrary {
 public:
  /// Throws std::runtime_error that names the file and what is wrong with it.
  explicit AaxLibrary(const std::string& path);
  ~AaxLibrary();
  AaxLibrary(const AaxLibrary&) = delete;
  AaxLibrary& operator=(const AaxLibrary&) = delete;

  /// Whether the process holds it, whoever loaded it.
  [[nodiscard]] static bool isLoaded(const std::string& path);

  ACFRegisterPluginProc registerPlugin = nullptr;
  ACFRegisterComponentProc registerComponent = nullptr;
  ACFGetClassFactoryProc getClassFactory = nullptr;
  ACFCanUnloadNowProc canUnloadNow = nullptr;
  ACFStartupProc startup = nullptr;
  ACFShutdownProc shutdown = nullptr;
  ACFGetSDKVersionProc getSdkVersion = nullptr;

 private:
  template <typename Function>
  void find(Function& function, const char* name);

  const std::string path;
  void* handle;
};
