#pragma once

#include <chrono>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <system_error>

#include "state/json_document.h"
#include "state/user_store.h"

class FileLock;

/// A store in one JSON file: an object of strings by name; members that are no strings are not
/// ours and stay as they are, numbers to ten decimal places. Names match with their case.
///
/// Each update locks the store against other processes (a lock file beside it), reads it again and
/// replaces the file as a whole. A file that cannot be read as a store is moved aside, under a name
/// that tells, before a new one is begun, and `takeNotice` tells where it went.
class FileStore : public UserStore {
 public:
  /// How long an update may hold up a message thread.
  static constexpr std::chrono::milliseconds kBriefWait{250};

  /// `path` of the file; its folder is made with the first update. An empty path reads nothing and
  /// refuses to write. An update waits for other processes up to `longestWait`.
  explicit FileStore(std::string path, std::chrono::milliseconds longestWait = kBriefWait);

  /// Nothing, too, of a file that is no store. Never changes or waits for anything.
  [[nodiscard]] std::optional<std::string> read(std::string_view name) override;
  /// On the disk when it returns true; false, after at most `longestWait`, leaves everything as it
  /// was and a notice. A text that is already there is not written again. `change` runs under the
  /// lock and calls no update of this store.
  bool update(std::string_view name, const Change& change) override;
  bool updateIfFree(std::string_view name, const Change& change) override;
  [[nodiscard]] std::string takeNotice() override;

  /// The text of a store file as an object; null when it is none: no JSON, no object, something
  /// behind it, or numbers that cannot be written again.
  [[nodiscard]] static JsonTree parse(const std::string& text);
  /// The string member `name` of a parsed store; an empty one counts as missing.
  [[nodiscard]] static std::optional<std::string> find(const JsonNode& root, std::string_view name);
  /// Puts `text` under `name` of a parsed store and gives the file's new text; empty if memory runs
  /// out or name or text hold a zero byte.
  [[nodiscard]] static std::string printWith(JsonNode& root, const std::string& name,
                                             const std::string& text);

 private:
  bool updateWithin(std::chrono::milliseconds wait, std::string_view name, const Change& change);
  [[nodiscard]] std::error_code lockOut(FileLock& others, std::chrono::milliseconds wait) const;
  [[nodiscard]] bool replace(const std::string& text, const std::string& foreignReason);
  bool refuse(const std::string& reason);
  void addNotice(const std::string& sentence);
  void forgetTold();

  const std::string path;
  const std::chrono::milliseconds longestWait;
  std::mutex mutex;  // threads queue here instead of asking for the lock file by turns
  std::mutex noticeMutex;
  std::string notice;
  std::set<std::string> told;  // since something was written
};
