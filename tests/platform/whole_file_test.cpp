#include "platform/whole_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstddef>
#include <string>

#include "tests/support/test_directory.h"

namespace {

TEST(WholeFile, ReadsWhatWasWrittenUpToTheLimit) {
  const TestDirectory directory;
  const std::string path = directory.path("file");
  for (const std::size_t size : {std::size_t{0}, std::size_t{4095}, std::size_t{4096},
                                 std::size_t{4097}, std::size_t{100'000}}) {
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
  EXPECT_EQ(directory.names().size(), 1U);
}

TEST(WholeFile, RefusesWhatIsNoFileAndFilesThatTellNoSize) {
  const TestDirectory directory;
  const std::string pipe = directory.path("pipe");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  constexpr std::size_t kMost = 1 << 20;
  std::string bytes = "before";
  EXPECT_EQ(readWholeFile(pipe, bytes, kMost), std::errc::not_supported);
  EXPECT_EQ(readWholeFile("/dev/zero", bytes, kMost), std::errc::not_supported);
  EXPECT_EQ(readWholeFile(directory.path(""), bytes, kMost), std::errc::is_a_directory);
  EXPECT_EQ(readWholeFile(directory.path("none"), bytes, kMost),
            std::errc::no_such_file_or_directory);
  EXPECT_EQ(readWholeFile("/proc/self/status", bytes, 10), std::errc::file_too_large);
  EXPECT_EQ(bytes, "before");
  EXPECT_FALSE(readWholeFile("/proc/self/status", bytes, kMost));
  EXPECT_EQ(bytes.substr(0, 5), "Name:");
}

}  // namespace
