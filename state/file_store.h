#pragma once

#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "state/json_document.h"
#include "state/user_store.h"

/// A store in one JSON file: an object of strings by name; members that are no strings are not
/// ours and stay as they are.
///
/// Each update locks the store against other processes (a lock file beside it), reads it again and
/// replaces the file as a whole. A file that cannot be read as a store is moved aside, under a name
/// that tells, before a new one is begun, and `takeNotice` tells where it went.
class FileStore : public UserStore {
 public:
  /// `path` of the file; its folder is made with the first update. An empty path reads nothing and
  /// refuses to write.
  explicit FileStore(std::string path);

  [[nodiscard]] std::optional<std::string> read(std::string_view name) override;
  bool update(std::string_view name, const Change& change) override;
  [[nodiscard]] std::string takeNotice() override;

  /// The text of a store file as an object; null when it is none. For `fuzz/`, too.
  [[nodiscard]] static JsonTree parse(const std::string& text);

 private:
  const std::string path;
  std::mutex mutex;    // threads of this process
  std::string notice;  // under the lock
};
