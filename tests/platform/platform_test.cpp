#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "platform/atomic_file.h"
#include "platform/of_process.h"
#include "platform/paths.h"
#include "platform/resources.h"
#include "platform/standard_streams.h"
#include "platform/stop_request.h"
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

TEST(Files, AreRemovedWhenTheirWriterWasKilled) {
  const TestDirectory folder;
  // Neither a part of somebody else's, nor what is none.
  writeBytes(folder.path(".file.x.part"), "");
  fs::create_directory(folder.path(".x.corvanthelis-part"));
  AtomicFile file;
  ASSERT_FALSE(file.open(folder.path("file")));
  const std::vector<std::string> living = folder.names();
  const auto beKilled = [&folder] {
    AtomicFile lost;
    if (!lost.open(folder.path("file"))) raise(SIGKILL);
  };
  EXPECT_EXIT(beKilled(), testing::KilledBySignal(SIGKILL), "");
  EXPECT_EQ(folder.names().size(), living.size() + 1);
  removeDeadParts(folder.path(""));
  EXPECT_EQ(folder.names(), living);
  EXPECT_FALSE(file.commit());
  EXPECT_TRUE(isFile(folder.path("file")));
}

TEST(Files, AreNamedByTheirPaths) {
  const struct {
    const char *path, *parent, *extension;
  } rows[] = {{"a/b.wav", "a", ".wav"}, {"/a", "/", ""},     {"a//b.c.d", "a", ".d"},
              {"/x/.y.z", "/x", ".z"},  {".hidden", "", ""}, {"a.b/..", "a.b", ""}};
  for (const auto& row : rows) {
    EXPECT_EQ(parentFolder(row.path), row.parent) << row.path;
    EXPECT_EQ(extensionOf(row.path), row.extension) << row.path;
  }
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

// What holds for a process as a whole, tried in children of this one: each ends with the number of
// what went wrong.

int faultsWithoutStreams() {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) close(stream);
  holdClosedStandardStreams();
  char byte = 'x';
  int faults = open("/dev/null", O_RDWR) <= STDERR_FILENO;  // a file takes a stream's place
  faults += read(STDIN_FILENO, &byte, 1) != -1;
  for (const int stream : {STDOUT_FILENO, STDERR_FILENO}) {
    faults += write(stream, &byte, 1) != -1;
    faults += (fcntl(stream, F_GETFL) & O_ACCMODE) != O_RDONLY;
  }
  return faults;
}

TEST(StandardStreams, ClosedOnesAreHeldAgainstFilesAndStillFail) {
  EXPECT_EXIT(std::_Exit(faultsWithoutStreams()), testing::ExitedWithCode(0), "");
  const int flags = fcntl(STDERR_FILENO, F_GETFL);
  holdClosedStandardStreams();
  EXPECT_EQ(fcntl(STDERR_FILENO, F_GETFL), flags) << "one that is open";
}

int faultsWhenStoppedBy(int number, const std::string& path) {
  catchStopRequests();
  AtomicFile file;
  int faults = file.open(path) ? 1 : 0;
  faults += stopRequested();
  raise(number);
  faults += !stopRequested();
  faults += file.commit() != std::errc::interrupted;
  faults += writeWholeFile(path, "new") != std::errc::interrupted;
  releaseStopRequests();
  raise(number);
  return faults + 100;  // it should have ended this
}

int faultsWhenKept(const std::string& path) {
  signal(SIGINT, SIG_IGN);
  catchStopRequests();
  for (const int number : {SIGINT, SIGPIPE, SIGXFSZ}) raise(number);
  int faults = stopRequested();
  const rlimit limit{100, 100};
  setrlimit(RLIMIT_FSIZE, &limit);
  faults += writeWholeFile(path, std::string(150, 'x')) != std::errc::file_too_large;
  releaseStopRequests();
  raise(SIGINT);
  faults += setuid(65534) != 0;
  return faults + (writeWholeFile(path, "new") != std::errc::permission_denied);
}

TEST(StopRequest, LeavesFilesAsTheyWere) {
  const TestDirectory folder;
  const std::string path = folder.path("file");
  writeBytes(path, "old");
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
    EXPECT_EXIT(std::_Exit(faultsWhenStoppedBy(number, path)), testing::KilledBySignal(number), "");
  }
  chmod(folder.path("").c_str(), 0777);
  EXPECT_EXIT(std::_Exit(faultsWhenKept(path)), testing::ExitedWithCode(0), "");
  EXPECT_EQ(readBytes(path), "old");
  EXPECT_EQ(folder.names().size(), 1U);
}

TEST(OfProcess, AChildMakesItsOwn) {
  static OfProcess<std::int64_t> number([] { return processId(); });
  EXPECT_EQ(number.get(), getpid());
  EXPECT_EQ(&number.get(), &number.get());
  EXPECT_EXIT(std::_Exit(number.get() == getpid() ? 0 : 1), testing::ExitedWithCode(0), "");
}

// Found by a constructor before `main`, in an order that no file can rely on.
const std::string_view earlyFound = findResource("json", "uisettings");

TEST(Resources, HoldTheFilesByteByByteWithAZeroBehind) {
  const struct {
    const char *type, *name, *file;
  } rows[] = {{"json", "defaults", "options/defaults.json"},
              {"json", "uisettings", "options/uisettings.json"},
              {"TTF", "DSP-Bold", "faces/DSP-Bold.ttf"},
              {"TTF", "OpenSans-Regular", "faces/OpenSans-Regular.ttf"},
              {"PNG", "101@2x", "images/101@2x.png"},
              {"PNG", "804", "images/804.png"}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.file);
    const std::string bytes = readBytes(std::string(CORVANTHELIS_RESOURCES "/") + row.file);
    const std::string_view found = findResource(row.type, row.name);
    EXPECT_GT(bytes.size(), 100U);
    ASSERT_TRUE(found == bytes);
    EXPECT_EQ(found.data()[found.size()], 0);
  }
  EXPECT_EQ(earlyFound.data(), findResource("json", "uisettings").data());
  const std::pair<const char*, const char*> unknown[] = {
      {"json", "default"}, {"json", "defaults2"}, {"json", ""}, {"JSON", "defaults"},
      {"PNG", "DSP-Bold"}, {"PNG", "101@"},       {"", ""}};
  for (const auto& [type, name] : unknown) {
    EXPECT_EQ(findResource(type, name).data(), nullptr) << type << ' ' << name;
  }
}

}  // namespace
