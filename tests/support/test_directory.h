#pragma once

#include <filesystem>
#include <string>
#include <vector>

/// A directory of its own for the files of one test, gone with it.
class TestDirectory {
 public:
  TestDirectory();
  ~TestDirectory();
  TestDirectory(const TestDirectory&) = delete;
  TestDirectory& operator=(const TestDirectory&) = delete;

  [[nodiscard]] std::string path(const std::string& name) const { return (root / name).string(); }
  /// Names of everything in it, sorted, hidden files too.
  [[nodiscard]] std::vector<std::string> names() const;

 private:
  std::filesystem::path root;
};

void writeBytes(const std::string& path, const std::string& bytes);
[[nodiscard]] std::string readBytes(const std::string& path);
