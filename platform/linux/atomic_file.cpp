#include "platform/atomic_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <random>
#include <string_view>
#include <utility>

#include "platform/linux/last_error.h"
#include "platform/paths.h"
#include "platform/stop_request.h"

namespace {

constexpr std::string_view kPartEnding = ".corvanthelis-part";

/// A unique name next to `target`, cut so that it is valid even if the target's name is long.
std::string nameBeside(const std::string& target) {
  constexpr std::size_t kKept = 200;
  std::array<char, 16> digits;
  std::random_device random;
  const auto end = std::to_chars(digits.begin(), digits.end(), random(), 36).ptr;
  const std::string name = target.substr(target.rfind('/') + 1, kKept);  // from 0 without a slash
  return joinedPath(parentFolder(target),
                    "." + name + "." + std::string(digits.data(), end) + std::string(kPartEnding));
}

bool isNamed(int descriptor, const std::string& path) noexcept {
  struct stat held {};
  struct stat named {};
  return ::fstat(descriptor, &held) == 0 && ::lstat(path.c_str(), &named) == 0 &&
         held.st_dev == named.st_dev && held.st_ino == named.st_ino;
}

/// Locks a new file. False if somebody else took it for a dead one before; file systems without
/// locks have nobody who could.
bool lockNew(int descriptor, const std::string& path) noexcept {
  if (::flock(descriptor, LOCK_EX | LOCK_NB) != 0) return errno != EWOULDBLOCK;
  return isNamed(descriptor, path);
}

}  // namespace

AtomicFile::~AtomicFile() { discard(); }

std::error_code AtomicFile::open(const std::string& target) {
  discard();
  finalPath = resolvedLinks(target);
  struct stat status {};
  const bool exists = ::stat(finalPath.c_str(), &status) == 0;
  if (!exists && errno != ENOENT) return lastError();
  if (exists && S_ISCHR(status.st_mode)) {
    descriptor = ::open(finalPath.c_str(), O_WRONLY | O_CLOEXEC);
    return descriptor < 0 ? lastError() : std::error_code{};
  }
  if (exists && S_ISDIR(status.st_mode)) return std::make_error_code(std::errc::is_a_directory);
  if (exists && !S_ISREG(status.st_mode)) return std::make_error_code(std::errc::not_supported);
  // Otherwise the rename would replace a write-protected target.
  if (exists && ::access(finalPath.c_str(), W_OK) != 0) return lastError();
  if (const std::error_code error = openBeside()) return error;
  if (exists && ::fchmod(descriptor, status.st_mode & 07777) != 0) {
    const std::error_code error = lastError();
    discard();
    return error;
  }
  return {};
}

std::error_code AtomicFile::openBeside() {
  constexpr int kAttempts = 100;
  for (int i = 0; i < kAttempts; ++i) {
    std::string name = nameBeside(finalPath);
    descriptor = ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (descriptor < 0 && errno == EEXIST) continue;
    if (descriptor < 0) return lastError();
    temporaryPath = std::move(name);  // nothing may fail between opening and this
    if (lockNew(descriptor, temporaryPath)) return {};
    discard();
  }
  return std::make_error_code(std::errc::file_exists);
}

std::error_code AtomicFile::write(const void* bytes, std::size_t count, std::int64_t offset) {
  const char* from = static_cast<const char*>(bytes);
  while (count > 0) {
    const ssize_t written = ::pwrite(descriptor, from, count, offset);
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return lastError();
    from += written;
    offset += written;
    count -= static_cast<std::size_t>(written);
  }
  length = std::max(length, offset);
  return {};
}

std::error_code AtomicFile::clear() {
  length = 0;
  if (!temporaryPath.empty() && ::ftruncate(descriptor, 0) != 0) return lastError();
  return {};
}

std::error_code AtomicFile::commit() {
  std::error_code error;
  if (!temporaryPath.empty() && ::fsync(descriptor) != 0) error = lastError();
  // Holds the lock until the file has its name.
  const int lock = temporaryPath.empty() ? -1 : ::fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
  if (const std::error_code closing = closeFile(); !error) error = closing;
  if (!error && stopRequested()) error = std::make_error_code(std::errc::interrupted);
  if (!error && !temporaryPath.empty() &&
      std::rename(temporaryPath.c_str(), finalPath.c_str()) != 0) {
    error = lastError();
  }
  if (!error) temporaryPath.clear();
  discard();
  if (lock >= 0) ::close(lock);
  return error;
}

void AtomicFile::discard() noexcept {
  static_cast<void>(closeFile());
  if (!temporaryPath.empty()) ::unlink(temporaryPath.c_str());
  temporaryPath.clear();
  length = 0;
}

std::error_code AtomicFile::closeFile() noexcept {
  const int closing = std::exchange(descriptor, -1);
  if (closing >= 0 && ::close(closing) != 0) return lastError();
  return {};
}

void removeDeadParts(const std::string& folder) {
  for (const FolderEntry& entry : listFolder(folder.empty() ? "." : folder)) {
    if (!entry.isFile || entry.isLink || !entry.name.ends_with(kPartEnding)) continue;
    const std::string path = joinedPath(folder, entry.name);
    const int part = ::open(path.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (part < 0) continue;
    // Its writer would hold the lock, and let it go only when the file has another name.
    if (::flock(part, LOCK_EX | LOCK_NB) == 0 && isNamed(part, path)) ::unlink(path.c_str());
    ::close(part);
  }
}

bool isCharacterDevice(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 && S_ISCHR(status.st_mode);
}
