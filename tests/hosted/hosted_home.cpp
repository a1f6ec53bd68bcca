#include <cstdlib>
#include <filesystem>

#include "state/machine.h"
#include "tests/hosted/hosted.h"
#include "tests/support/test_directory.h"

namespace {

struct Home {
  Home() {
    setenv("XDG_CONFIG_HOME", folder.path("config").c_str(), 1);
    setenv("XDG_DATA_HOME", folder.path("data").c_str(), 1);
    setenv("XDG_DATA_DIRS", folder.path("none").c_str(), 1);
    for (const auto& [id, number] : kControllers) getMidiMap().learn(id, number);
  }
  const TestDirectory folder;
};

}  // namespace

std::string copyAlone(const std::string& library) {
  namespace fs = std::filesystem;
  static const Home home;
  // Where it finds no factory content: what is checked does not depend on what lies beside it.
  const std::string copy = home.folder.path(fs::path(library).filename().string());
  fs::copy_file(library, copy, fs::copy_options::skip_existing);
  return copy;
}
