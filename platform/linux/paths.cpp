#include "platform/paths.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <new>
#include <utility>

#include "platform/linux/last_error.h"

namespace {

struct Close {
  void operator()(DIR* folder) const noexcept { ::closedir(folder); }
};
struct Free {
  void operator()(char* text) const noexcept { std::free(text); }
};

std::int64_t nanoseconds(const timespec& time) noexcept {
  return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

/// The kind of file at a path; 0 if there is none.
mode_t kindAt(const std::string& path) noexcept {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 ? status.st_mode & S_IFMT : 0;
}

}  // namespace

std::string joinedPath(std::string_view folder, std::string_view name) {
  std::string path(folder);
  if (!path.empty() && path.back() != '/') path += '/';
  return path.append(name);
}

std::string parentFolder(std::string_view path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string_view::npos) return {};
  const std::size_t end = path.find_last_not_of('/', slash);
  return end == std::string_view::npos ? "/" : std::string(path.substr(0, end + 1));
}

std::string_view extensionOf(std::string_view path) {
  const std::string_view name = path.substr(path.rfind('/') + 1);  // from 0 without a slash
  const std::size_t dot = name.rfind('.');
  return dot == std::string_view::npos || dot == 0 || name == ".." ? "" : name.substr(dot);
}

bool isFolder(const std::string& path) noexcept { return kindAt(path) == S_IFDIR; }

bool isFile(const std::string& path) noexcept { return kindAt(path) == S_IFREG; }

bool isSameFile(const std::string& a, const std::string& b) noexcept {
  struct stat first {};
  struct stat second {};
  return ::stat(a.c_str(), &first) == 0 && ::stat(b.c_str(), &second) == 0 &&
         first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}

bool isThere(const std::string& path) noexcept { return kindAt(path) != 0; }

bool isNameTaken(const std::string& path) noexcept {
  struct stat status {};
  return ::lstat(path.c_str(), &status) == 0;
}

std::optional<std::string> realPath(const std::string& path) {
  const std::unique_ptr<char, Free> real(::realpath(path.c_str(), nullptr));
  if (real != nullptr) return real.get();
  if (errno == ENOMEM) throw std::bad_alloc();
  return std::nullopt;
}

std::string resolvedLinks(std::string path) {
  constexpr int kMostLinks = 40;
  std::array<char, PATH_MAX> target;
  for (int i = 0; i < kMostLinks; ++i) {
    const ssize_t size = ::readlink(path.c_str(), target.data(), target.size());
    if (size <= 0) break;
    const std::string_view next(target.data(), static_cast<std::size_t>(size));
    path = next.front() == '/' ? next : joinedPath(parentFolder(path), next);
  }
  return path;
}

bool FileStamp::isSameState(const FileStamp& other) const noexcept {
  return isThere == other.isThere && device == other.device && node == other.node &&
         size == other.size && written == other.written && changed == other.changed;
}

FileStamp fileStamp(const std::string& path) noexcept {
  // Changes within one tick of the file system's clock get the same times.
  constexpr std::int64_t kLongestTick = 100'000'000;
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return {};
  timespec now{};
  ::clock_gettime(CLOCK_REALTIME, &now);
  FileStamp stamp;
  stamp.isThere = true;
  stamp.device = status.st_dev;
  stamp.node = status.st_ino;
  stamp.size = static_cast<std::uint64_t>(status.st_size);
  stamp.written = nanoseconds(status.st_mtim);
  stamp.changed = nanoseconds(status.st_ctim);
  stamp.isSettled = stamp.changed + kLongestTick < nanoseconds(now);
  return stamp;
}

std::error_code moveFile(const std::string& from, const std::string& to) noexcept {
  if (std::rename(from.c_str(), to.c_str()) == 0) return {};
  return lastError();
}

std::error_code readFolder(const std::string& path, std::size_t most,
                           std::vector<FolderEntry>& entries, bool& isWhole) {
  isWhole = true;
  const std::unique_ptr<DIR, Close> folder(::opendir(path.c_str()));
  if (folder == nullptr && errno == ENOMEM) throw std::bad_alloc();
  if (folder == nullptr) return lastError();
  while (const dirent* const found = ::readdir(folder.get())) {
    FolderEntry entry{found->d_name, found->d_type == DT_DIR, found->d_type == DT_REG,
                      found->d_type == DT_LNK};
    if (entry.name == "." || entry.name == "..") continue;
    isWhole = most-- > 0;
    if (!isWhole) break;
    // On most file systems the directory gives the kind of every entry that is not a link.
    if (entry.isLink || found->d_type == DT_UNKNOWN) {
      const std::string full = joinedPath(path, entry.name);
      const mode_t kind = kindAt(full);
      struct stat own {};
      entry.isLink = ::lstat(full.c_str(), &own) == 0 && S_ISLNK(own.st_mode);
      entry.isFolder = kind == S_IFDIR;
      entry.isFile = kind == S_IFREG;
    }
    entries.push_back(std::move(entry));
  }
  return {};
}

std::vector<FolderEntry> listFolder(const std::string& path) {
  std::vector<FolderEntry> entries;
  bool isWhole = true;
  // What cannot be listed holds nothing.
  static_cast<void>(readFolder(path, SIZE_MAX, entries, isWhole));
  return entries;
}
