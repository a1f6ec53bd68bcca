#include "state/install_folders.h"

#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>

#include "platform/user_folders.h"
#include "state/json_document.h"
#include "state/user_store.h"
#include "tests/support/test_directory.h"

namespace {

namespace fs = std::filesystem;

/// A variable with another text, or without any, while it lives.
class Variable {
 public:
  Variable(const char* variable, const char* text) : name(variable) {
    if (const char* const found = std::getenv(name)) old = found;
    set(text);
  }
  ~Variable() { set(old ? old->c_str() : nullptr); }
  Variable(const Variable&) = delete;
  Variable& operator=(const Variable&) = delete;

 private:
  void set(const char* text) {
    if (text) {
      setenv(name, text, 1);
    } else {
      unsetenv(name);
    }
  }

  const char* const name;
  std::optional<std::string> old;
};

TEST(InstallFolders, EnvironmentThenStoreThenDataFolder) {
  const std::string database = getpwuid(getuid())->pw_dir;
  const std::string longest(2047, 'p');
  const std::string tooLong(2048, 'p');
  const struct {
    const char* variable;
    std::string stored;
    const char* data;
    const char* home;
    std::string expected;
  } cases[] = {
      {"/by/variable/", "/by/store", "/data", "/me", "/by/variable/"},
      {"", "/by/store", "/data", "/me", "/by/store"},
      {nullptr, longest, "/data", "/me", longest},
      {nullptr, tooLong, "/data", "/me", "/data/Halvekro/Corvanthelis"},
      {nullptr, "", "/data//", "/me", "/data/Halvekro/Corvanthelis"},
      {nullptr, "", "relative", "/me/", "/me/.local/share/Halvekro/Corvanthelis"},
      {nullptr, "", "", "/", "/.local/share/Halvekro/Corvanthelis"},
      {nullptr, "", nullptr, nullptr, database + "/.local/share/Halvekro/Corvanthelis"},
      {nullptr, "", nullptr, "relative", database + "/.local/share/Halvekro/Corvanthelis"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.expected);
    const Variable variable("CORVANTHELIS_PATH", c.variable);
    const Variable data("XDG_DATA_HOME", c.data);
    const Variable home("HOME", c.home);
    MemoryStore store;
    store.write("Path", c.stored);
    EXPECT_EQ(findInstallFolders(store).install, c.expected);
  }
  const Variable home("HOME", "/me");
  EXPECT_EQ((Variable("XDG_CONFIG_HOME", "/config/"), userConfigFolder()), "/config");
  EXPECT_EQ((Variable("XDG_CONFIG_HOME", "./config"), userConfigFolder()), "/me/.config");
  EXPECT_EQ(codeFolder(), fs::canonical("/proc/self/exe").parent_path());
}

TEST(InstallFolders, FactoryContentIsTheFirstOfItsPlaces) {
  const TestDirectory directory;
  const std::string code = directory.path("install/bin");
  const std::string data = "relative::" + directory.path("data1") + ":" +
                           directory.path("missing:data2") + ":" + directory.path("data2");
  const Variable noFactoryHere("XDG_DATA_DIRS", directory.path("missing").c_str());
  // Relative places count neither by their name nor by that of the folder we happen to be in.
  const fs::path before = fs::current_path();
  fs::create_directories(directory.path("relative/Halvekro/Corvanthelis"));
  fs::create_directories(directory.path("Halvekro/Corvanthelis"));
  fs::current_path(directory.path(""));
  EXPECT_EQ(findFactoryFolder(code, data), "");
  EXPECT_EQ(findFactoryFolder("", data), "");
  for (const char* const place :
       {"data2/Halvekro/Corvanthelis", "data1/Halvekro/Corvanthelis",
        "install/bin/Corvanthelis.resources", "install/bin/share/Halvekro/Corvanthelis",
        "install/share/Halvekro/Corvanthelis"}) {
    const std::string folder = directory.path(place);
    fs::create_directories(fs::path(folder).parent_path());
    const std::string earlier = findFactoryFolder(code, data);
    writeBytes(folder, "a file is no folder");
    EXPECT_EQ(findFactoryFolder(code, data), earlier);
    fs::remove(folder);
    fs::create_directory(folder);
    EXPECT_EQ(findFactoryFolder(code, data), folder);
  }
  fs::current_path(before);
  MemoryStore store;
  const Variable dataFolders("XDG_DATA_DIRS", data.c_str());
  EXPECT_EQ(findInstallFolders(store).factory, directory.path("data1/Halvekro/Corvanthelis"));
}

TEST(InstallFolders, PrefixesEndInASlash) {
  const struct {
    InstallFolders folders;
    const char *presets, *bands, *factoryPresets;
  } cases[] = {
      {{"/i", "/f"}, "/i/Presets/", "/i/BandPresets/", "/f/Presets/"},
      {{"/i/", ""}, "/i/Presets/", "/i//BandPresets/", ""},
      {{"", "/f"}, "", "", "/f/Presets/"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.folders.presets(), c.presets);
    EXPECT_EQ(c.folders.bands(), c.bands);
    EXPECT_EQ(c.folders.factoryPresets(), c.factoryPresets);
  }
}

TEST(InstallFolders, LoadsTheFirstFileOrElseTheSecondOrTheFactorys) {
  const TestDirectory directory;
  const InstallFolders folders = {directory.path("install"), directory.path("factory")};
  fs::create_directories(folders.install);
  fs::create_directories(folders.factory);
  const std::string first = folders.install + "/first";
  std::string path;
  const auto load = [&](const InstallFolders& in) {
    return loadInstallFile(in, "first", "second", path);
  };

  EXPECT_EQ(load(folders), "");
  writeBytes(folders.factory + "/first", "never looked for");
  EXPECT_EQ(load(folders), "");
  const std::string bytes = std::string("factory\0bytes", 13);
  writeBytes(folders.factory + "/second", bytes);
  EXPECT_EQ(load(folders), bytes);
  writeBytes(folders.install + "/second", "second");
  EXPECT_EQ(load(folders), "second");
  for (const std::uintmax_t unusable : {std::uintmax_t{0}, kMostDocumentBytes + 1}) {
    writeBytes(first, "");
    fs::resize_file(first, unusable);
    EXPECT_EQ(load(folders), "second") << unusable;
    EXPECT_EQ(isTooLargeToLoad(first), unusable > 0);
  }
  fs::resize_file(first, kMostDocumentBytes);
  EXPECT_EQ(load(folders).size(), kMostDocumentBytes);
  writeBytes(first, "first");
  EXPECT_EQ(load(folders), "first");
  EXPECT_EQ(path, first) << "whichever was read";
  fs::remove(first);
  fs::create_directory(first);
  EXPECT_EQ(load(folders), "second");
  EXPECT_EQ(path, first);

  // Without an install folder the root of the disk is not meant.
  EXPECT_EQ(load({"", folders.factory}), bytes);
  EXPECT_EQ(path, "");
  const std::string fromRoot = (folders.install + "/second").substr(1);
  EXPECT_EQ(loadInstallFile({}, fromRoot, fromRoot, path), "");
}

}  // namespace
