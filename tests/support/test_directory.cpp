#include "tests/support/test_directory.h"

#include <stdlib.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>

namespace fs = std::filesystem;

TestDirectory::TestDirectory() {
  std::string pattern = (fs::temp_directory_path() / "corvanthelis-test-XXXXXX").string();
  if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary directory");
  root = pattern;
}

TestDirectory::~TestDirectory() {
  std::error_code ignored;
  fs::remove_all(root, ignored);
}

std::vector<std::string> TestDirectory::names() const {
  std::vector<std::string> found;
  for (const auto& entry : fs::directory_iterator(root)) found.push_back(entry.path().filename());
  std::sort(found.begin(), found.end());
  return found;
}

void writeBytes(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

std::string readBytes(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}
