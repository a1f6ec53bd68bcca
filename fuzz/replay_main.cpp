#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

using std::filesystem::path;

bool replayFile(const path& file) {
  std::ifstream in(file, std::ios::binary);
  const std::string bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  if (!in) {
    std::fprintf(stderr, "cannot read %s\n", file.c_str());
    return false;
  }
  // Named first: if the target ends the process, this line tells the culprit. An exact copy on the
  // heap lets the address sanitizer see a read past the end.
  std::printf("%s\n", file.c_str());
  std::fflush(stdout);
  const std::vector<std::uint8_t> copy(bytes.begin(), bytes.end());
  LLVMFuzzerTestOneInput(copy.data(), copy.size());
  return true;
}

std::vector<path> filesOf(const path& fileOrFolder) {
  if (!std::filesystem::is_directory(fileOrFolder)) return {fileOrFolder};
  std::vector<path> files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(fileOrFolder)) {
    if (entry.is_regular_file()) files.push_back(entry.path());
  }
  return files;
}

}  // namespace

// Gives a fuzz target the files, and all files in the folders, of its command line: the corpus is a
// test with every compiler. Fails if a file cannot be read or there is none.
int main(int argc, char** argv) {
  int replayed = 0;
  for (int i = 1; i < argc; ++i) {
    for (const path& file : filesOf(argv[i])) {
      if (!replayFile(file)) return 1;
      ++replayed;
    }
  }
  std::printf("%d files\n", replayed);
  return replayed > 0 ? 0 : 1;
}
