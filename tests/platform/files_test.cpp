#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "platform/atomic_file.h"
#include "platform/paths.h"
#include "platform/user_folders.h"
#include "platform/whole_file.h"
#include "tests/support/test_directory.h"

namespace {

namespace fs = std::filesystem;

TEST(Files, AreReadUpToTheLimit) {
  const TestDirectory folder;
  const std::string path = folder.path("file");
  for (const std::size_t size : {0U, 1U, 4095U, 4096U, 4097U, 100'000U}) {
    SCOPED_TRACE(size);
    std::string written(size, '\0');
    for (std::size_t i = 0; i < size; ++i) written[i] = static_cast<char>(i % 251);
    ASSERT_FALSE(writeWholeFile(path, written));
    std::string bytes = "before";
    if (size > 0) {
      EXPECT_EQ(readWholeFile(path, bytes, size - 1), std::errc::file_too_large);
      EXPECT_EQ(bytes, "before");
    }
    EXPECT_FALSE(readWholeFile(path, bytes, size));
    EXPECT_TRUE(bytes == written);
  }
  EXPECT_EQ(folder.names().size(), 1U);
  std::string status;  // a file that tells no size
  EXPECT_EQ(readWholeFile("/proc/self/status", status, 10), std::errc::file_too_large);
  EXPECT_FALSE(readWholeFile("/proc/self/status", status, 1 << 20));
  EXPECT_EQ(status.substr(0, 5), "Name:");
}

TEST(Files, RefuseWhatIsNone) {
  const TestDirectory folder;
  ASSERT_EQ(mkfifo(folder.path("pipe").c_str(), 0600), 0);
  writeBytes(folder.path("file"), "");
  const struct {
    std::string path;
    int reading, writing, makingFolder;
  } rows[] = {{folder.path("pipe"), ENOTSUP, ENOTSUP, ENOTDIR},
              {folder.path("none/x"), ENOENT, ENOENT, 0},
              {folder.path("file/x"), ENOTDIR, ENOTDIR, ENOTDIR},
              {folder.path(""), EISDIR, EISDIR, 0},
              {folder.path("a/b//c/"), ENOENT, ENOENT, 0},
              {"", ENOENT, ENOENT, EINVAL},
              {"/dev/zero", ENOTSUP, 0, ENOTDIR}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.path);
    std::string bytes = "before";
    EXPECT_EQ(readWholeFile(row.path, bytes, 1 << 20).value(), row.reading);
    EXPECT_EQ(bytes, "before");
    EXPECT_EQ(writeWholeFile(row.path, "text").value(), row.writing);
    EXPECT_EQ(makeFolders(row.path).value(), row.makingFolder);
    EXPECT_EQ(isFolder(row.path), row.makingFolder == 0);
  }
  EXPECT_EQ(folder.names(), (std::vector<std::string>{"a", "file", "none", "pipe"}));
}

TEST(Files, TakeTheirNamesWhenTheyAreWhole) {
  const TestDirectory folder;
  const std::string path = folder.path("file");
  writeBytes(path, "old");
  chmod(path.c_str(), 0640);
  fs::create_symlink("file", folder.path("near"));
  fs::create_symlink(folder.path("near"), folder.path("far"));
  const std::vector<std::string> names = folder.names();
  AtomicFile file;
  ASSERT_FALSE(file.open(folder.path("far")));
  EXPECT_FALSE(file.write("new text", 8, 2));
  EXPECT_FALSE(file.write("a ", 2, 0));
  EXPECT_EQ(file.size(), 10);
  EXPECT_EQ(readBytes(path), "old");
  EXPECT_FALSE(file.commit());
  EXPECT_EQ(readBytes(path), "a new text");
  EXPECT_EQ(fs::status(path).permissions(), fs::perms{0640});
  EXPECT_TRUE(isSameFile(folder.path("far"), path));

  ASSERT_FALSE(file.open(path));
  EXPECT_FALSE(file.write("taken back", 10, 0));
  EXPECT_FALSE(file.clear());
  EXPECT_EQ(file.size(), 0);
  EXPECT_FALSE(file.write("less", 4, 0));
  EXPECT_FALSE(file.commit());
  EXPECT_EQ(readBytes(path), "less");

  ASSERT_FALSE(file.open(path));  // and given up for another one
  EXPECT_FALSE(file.write("more", 4, 0));
  ASSERT_FALSE(file.open(folder.path("new")));
  makeFolders(folder.path("new")).clear();
  EXPECT_EQ(file.commit(), std::errc::is_a_directory);
  fs::remove(folder.path("new"));
  EXPECT_EQ(readBytes(path), "less");
  EXPECT_EQ(folder.names(), names);
}

TEST(Files, AreNamedByTheirPaths) {
  const struct {
    const char *path, *parent, *extension;
  } rows[] = {{"a/b.wav", "a", ".wav"}, {"/a", "/", ""},        {"a.b/c", "a.b", ""},
              {"a//b.c.d", "a", ".d"},  {".hidden", "", ""},    {"..", "", ""},
              {"/x/y/", "/x/y", ""},    {"/x/.y.z", "/x", ".z"}};
  for (const auto& row : rows) {
    EXPECT_EQ(parentFolder(row.path), row.parent) << row.path;
    EXPECT_EQ(extensionOf(row.path), row.extension) << row.path;
  }
  for (const char* folder : {"a", "a/"}) EXPECT_EQ(joinedPath(folder, "b"), "a/b");
  EXPECT_EQ(joinedPath("", "b"), "b");

  const TestDirectory folder;
  fs::create_symlink("nowhere", folder.path("lost"));
  fs::create_symlink(".", folder.path("loop"));
  fs::create_directory(folder.path("folder"));
  writeBytes(folder.path(".file"), "");
  std::string listed;
  std::vector<FolderEntry> entries = listFolder(folder.path(""));
  std::ranges::sort(entries, {}, &FolderEntry::name);
  for (const auto& [name, isFolder, isFile, isLink] : entries) {
    listed +=
        name + (isFolder ? " folder" : "") + (isFile ? " file" : "") + (isLink ? " link, " : ", ");
  }
  EXPECT_EQ(listed, ".file file, folder folder, loop folder link, lost link, ");
  EXPECT_TRUE(isNameTaken(folder.path("lost")) && !isThere(folder.path("lost")));
  EXPECT_EQ(resolvedLinks(folder.path("lost")), folder.path("nowhere"));
  EXPECT_EQ(realPath(folder.path("loop/folder/")), fs::canonical(folder.path("folder")));
  EXPECT_EQ(realPath(folder.path("lost")), std::nullopt);
}

TEST(Files, OfTheUserLieWhereTheEnvironmentSays) {
  const struct {
    const char *home, *told, *config, *data;
  } rows[] = {{"/me", "", "/me/.config", "/me/.local/share"},
              {"/me//", "rel/ative", "/me/.config", "/me/.local/share"},
              {"/", "", "/.config", "/.local/share"},
              {"/me", "/told/", "/told", "/told"},
              {"/me", "/", "/", "/"}};
  for (const auto& row : rows) {
    setenv("HOME", row.home, 1);
    setenv("XDG_CONFIG_HOME", row.told, 1);
    setenv("XDG_DATA_HOME", row.told, 1);
    EXPECT_EQ(userConfigFolder(), row.config) << row.home << ' ' << row.told;
    EXPECT_EQ(userDataFolder(), row.data) << row.home << ' ' << row.told;
  }
  EXPECT_EQ(codeFolder(), fs::canonical("/proc/self/exe").parent_path());
}

}  // namespace
