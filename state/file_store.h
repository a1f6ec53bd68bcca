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

/// A store in one JSON file: an object of strings by name. Other members are foreign and are kept,
/// their numbers to ten decimal places. Names are case-sensitive.
///
/// Each update locks the store against other processes (by a lock file next to it), reads it again
/// and replaces the file as a whole. A file that is no store is renamed before a new one is begun;
/// `takeNotice` reports the new name.
class FileStore : public UserStore {
 public:
  /// How long an update may block a message thread.
  static constexpr std::chrono::milliseconds kBriefWait{250};

  /// `path`: the file; the first update creates its folder. With an empty path the store reads
  /// nothing and refuses to write. An update waits for other processes up to `longestWait`.
  explicit FileStore(std::string path, std::chrono::milliseconds longestWait = kBriefWait);

  /// None as well if the file is no store. Never changes anything and never waits.
  [[nodiscard]] std::optional<std::string> read(std::string_view name) override;
  /// True once the text is on the disk. False, after at most `longestWait`, with everything as it
  /// was and a notice. A text that is already stored is not written again. `change` runs under the
  /// lock and must not call an update of this store.
  bool update(std::string_view name, const Change& change) override;
  bool updateIfFree(std::string_view name, const Change& change) override;
  [[nodiscard]] std::string takeNotice() override;

  /// Parses the text of a store file. Null if it is no JSON object, if anything follows the object,
  /// or if it contains numbers that could not be written again.
  [[nodiscard]] static JsonTree parse(const std::string& text);
  /// The string member `name` of a parsed store; an empty one counts as missing.
  [[nodiscard]] static std::optional<std::string> find(const JsonNode& root, std::string_view name);
  /// Sets `name` of a parsed store to `text` and returns the new text of the file; empty if memory
  /// runs out or if name or text contain a zero byte.
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
  std::mutex mutex;  // threads queue here instead of competing for the lock file
  std::mutex noticeMutex;
  std::string notice;
  std::set<std::string> told;  // reported since the last successful write
};
