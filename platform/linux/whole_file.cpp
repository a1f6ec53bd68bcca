#include "platform/whole_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <new>
#include <utility>

#include "platform/atomic_file.h"
#include "platform/linux/last_error.h"
#include "platform/paths.h"

namespace {

class Descriptor {
 public:
  Descriptor(const std::string& path, int flags)
      : number(::open(path.c_str(), flags | O_CLOEXEC)) {}
  ~Descriptor() {
    if (number >= 0) ::close(number);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  const int number;
};

/// Reads to the end of the file. Its size is only an estimate: the file may grow, and some files in
/// `/proc` report 0.
std::error_code readToEnd(int descriptor, std::size_t expected, std::size_t mostBytes,
                          std::string& bytes) {
  constexpr std::size_t kLeastRoom = 4096;
  // Room for one byte more than expected: the end is seen without another allocation.
  std::string found(std::max(expected + 1, kLeastRoom), '\0');
  std::size_t length = 0;
  for (;;) {
    if (length == found.size()) found.resize(2 * length);
    const ssize_t got = ::read(descriptor, found.data() + length, found.size() - length);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return lastError();
    if (got == 0) break;
    length += static_cast<std::size_t>(got);
    if (length > mostBytes) return std::make_error_code(std::errc::file_too_large);
  }
  found.resize(length);
  bytes = std::move(found);
  return {};
}

/// Makes a new name in the folder survive a power cut. Errors are ignored: not every file system
/// can do this, and the file itself is already written.
void flushFolderOf(const std::string& path) noexcept {
  try {
    const auto real = realPath(path);
    if (!real) return;
    const Descriptor folder(parentFolder(*real), O_RDONLY | O_DIRECTORY);
    if (folder.number >= 0) ::fsync(folder.number);
  } catch (const std::bad_alloc&) {
    return;
  }
}

}  // namespace

std::error_code readWholeFile(const std::string& path, std::string& bytes, std::size_t mostBytes) {
  // Opening a pipe without a writer would block.
  const Descriptor file(path, O_RDONLY | O_NONBLOCK | O_NOCTTY);
  if (file.number < 0) return lastError();
  struct stat status {};
  if (::fstat(file.number, &status) != 0) return lastError();
  if (S_ISDIR(status.st_mode)) return std::make_error_code(std::errc::is_a_directory);
  if (!S_ISREG(status.st_mode)) return std::make_error_code(std::errc::not_supported);
  const auto size = static_cast<std::size_t>(status.st_size);
  if (size > mostBytes) return std::make_error_code(std::errc::file_too_large);
  return readToEnd(file.number, size, mostBytes, bytes);
}

std::error_code writeWholeFile(const std::string& path, const std::string& bytes) {
  AtomicFile file;
  if (const std::error_code error = file.open(path)) return error;
  if (const std::error_code error = file.write(bytes.data(), bytes.size(), 0)) return error;
  if (const std::error_code error = file.commit()) return error;
  if (!isCharacterDevice(path)) flushFolderOf(path);
  return {};
}

std::error_code makeFolders(const std::string& path) {
  if (path.empty()) return std::make_error_code(std::errc::invalid_argument);
  if (isFolder(path)) return {};
  if (isThere(path)) return std::make_error_code(std::errc::not_a_directory);
  const std::string parent = parentFolder(path.substr(0, path.find_last_not_of('/') + 1));
  if (!parent.empty()) {
    if (const std::error_code error = makeFolders(parent)) return error;
  }
  if (::mkdir(path.c_str(), 0777) == 0 || isFolder(path)) return {};
  return lastError();
}
