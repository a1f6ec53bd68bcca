#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <stdexcept>
#include <system_error>

#include "core/parameter_ids.h"
#include "state/machine.h"
#include "tests/aax_host/loaded_plugin.h"
#include "tests/support/test_directory.h"

ACFRESULT registerWith(const AaxLibrary& library, HostUnknown& host) {
  IACFPluginDefinition* definition = nullptr;
  const ACFRESULT result = library.registerPlugin(host.unknown(), &definition);
  EXPECT_EQ(definition != nullptr, result == ACF_OK);
  if (definition != nullptr) definition->Release();
  return result;
}

Session::Session(HostUnknown& caller) : host(caller) {
  EXPECT_EQ(library.startup(host.unknown()), ACF_OK);
  const ACFRESULT result = registerWith(library, host);
  if (result != ACF_OK || host.collections.empty() || collection().effects.empty()) {
    throw std::runtime_error("describes no effect: result " + std::to_string(result));
  }
}

Session::~Session() {
  EXPECT_EQ(library.shutdown(host.unknown()), ACF_OK);
  EXPECT_EQ(library.canUnloadNow(host.unknown()), ACF_OK);
}

void LoadedPlugin::SetUpTestSuite() {
  session = std::make_unique<Session>(host);
  std::cout << session->collection().text();
}

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  if (argc != 2) {
    std::cerr << "aax-host-check: usage: aax-host-check LIBRARY\n";
    return 2;
  }
  // Settings of its own: those of the user are neither met nor changed.
  const TestDirectory home;
  setenv("XDG_CONFIG_HOME", home.path("config").c_str(), 1);
  setenv("XDG_DATA_HOME", home.path("data").c_str(), 1);
  setenv("XDG_DATA_DIRS", home.path("none").c_str(), 1);
  getMidiMap().learn(kIpTrim, kMappedController);
  // In a folder of its own, where it finds no factory content: what is checked does not depend on
  // what lies beside it.
  libraryPath = home.path(std::filesystem::path(argv[1]).filename().string());
  std::error_code error;
  std::filesystem::copy_file(argv[1], libraryPath, error);
  if (error) {
    std::cerr << "aax-host-check: " << argv[1] << ": cannot be read: " << error.message() << '\n';
    return 1;
  }
  return RUN_ALL_TESTS();
}
