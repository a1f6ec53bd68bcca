#include "platform/standard_streams.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/// In a process without standard streams: how many of three things go wrong once they are held.
int faultsWithoutStreams() {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) close(stream);
  holdClosedStandardStreams();
  int faults = 0;
  if (open("/dev/null", O_RDWR) <= STDERR_FILENO) ++faults;  // a file takes a stream's place
  char byte = 'x';
  if (read(STDIN_FILENO, &byte, 1) != -1) ++faults;
  if (write(STDERR_FILENO, &byte, 1) != -1) ++faults;
  return faults;
}

TEST(StandardStreams, ClosedOnesAreHeldAgainstFilesAndStillFail) {
  const pid_t child = fork();
  ASSERT_NE(child, -1);
  if (child == 0) _exit(faultsWithoutStreams());
  int status = -1;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST(StandardStreams, OpenOnesAreLeftAlone) {
  const int flags = fcntl(STDERR_FILENO, F_GETFL);
  holdClosedStandardStreams();
  EXPECT_EQ(fcntl(STDERR_FILENO, F_GETFL), flags);
}

}  // namespace
