// What holds for a process as a whole, tried in children of this one: each ends with the number of
// what went wrong.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <string>

#include "platform/atomic_file.h"
#include "platform/of_process.h"
#include "platform/resources.h"
#include "platform/standard_streams.h"
#include "platform/stop_request.h"
#include "platform/whole_file.h"
#include "tests/support/test_directory.h"

namespace {

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

int faultsBeyondTheSizeLimit(const std::string& path) {
  catchStopRequests();
  const rlimit limit{100, 100};
  setrlimit(RLIMIT_FSIZE, &limit);
  return writeWholeFile(path, std::string(150, 'x')) != std::errc::file_too_large;
}

int faultsWhenIgnored() {
  signal(SIGINT, SIG_IGN);
  catchStopRequests();
  for (const int number : {SIGINT, SIGPIPE, SIGXFSZ}) raise(number);
  const int faults = stopRequested();
  releaseStopRequests();
  raise(SIGINT);
  return faults;
}

int faultsWhenProtected(const std::string& path) {
  if (setuid(65534) != 0) return 1;
  return writeWholeFile(path, "new") != std::errc::permission_denied;
}

TEST(StopRequest, LeavesFilesAsTheyWere) {
  const TestDirectory folder;
  const std::string path = folder.path("file");
  writeBytes(path, "old");
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
    EXPECT_EXIT(std::_Exit(faultsWhenStoppedBy(number, path)), testing::KilledBySignal(number), "");
  }
  EXPECT_EXIT(std::_Exit(faultsBeyondTheSizeLimit(path)), testing::ExitedWithCode(0), "");
  EXPECT_EXIT(std::_Exit(faultsWhenIgnored()), testing::ExitedWithCode(0), "");
  chmod(folder.path("").c_str(), 0777);
  EXPECT_EXIT(std::_Exit(faultsWhenProtected(path)), testing::ExitedWithCode(0), "");
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
  for (const std::string name : {"defaults", "uisettings"}) {
    const std::string bytes = readBytes(CORVANTHELIS_OPTIONS "/" + name + ".json");
    const std::string_view found = findResource("json", name);
    EXPECT_GT(bytes.size(), 500U) << name;
    EXPECT_EQ(found, bytes) << name;
    EXPECT_EQ(found.data()[found.size()], 0) << name;
  }
  EXPECT_EQ(earlyFound.data(), findResource("json", "uisettings").data());
  const std::pair<const char*, const char*> unknown[] = {
      {"json", "default"}, {"json", "defaults2"}, {"json", ""}, {"jso", "defaults"},
      {"", "defaults"},    {"JSON", "defaults"},  {"", ""},     {"defaults", "json"}};
  for (const auto& [type, name] : unknown) {
    EXPECT_EQ(findResource(type, name).data(), nullptr) << type << ' ' << name;
  }
}

}  // namespace
