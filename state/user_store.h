#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

/// A user's settings outside of sessions: texts by name, shared by all instances and processes.
/// Threads: any but the audio thread.
class UserStore {
 public:
  /// Gets the stored text, if any, and returns the text to replace it; none leaves it as it is.
  using Change = std::function<std::optional<std::string>(const std::optional<std::string>&)>;

  UserStore() = default;
  virtual ~UserStore() = default;
  UserStore(const UserStore&) = delete;
  UserStore& operator=(const UserStore&) = delete;

  /// The text under `name`; an empty text counts as missing.
  [[nodiscard]] virtual std::optional<std::string> read(std::string_view name) = 0;
  /// Reads, calls `change` and writes, as one operation that no other process can interrupt. False
  /// if it could not be written. Throws std::bad_alloc, with nothing written.
  virtual bool update(std::string_view name, const Change& change) = 0;
  /// As `update`, but does not wait for other processes: for values that need not be stored now.
  /// False, without a notice, while another process has the store.
  virtual bool updateIfFree(std::string_view name, const Change& change) {
    return update(name, change);
  }
  bool write(std::string_view name, std::string text);

  /// What has gone wrong since the last call, in sentences for the user. Empty if nothing has, or
  /// only what was reported before.
  [[nodiscard]] virtual std::string takeNotice() { return {}; }
};

/// A store in memory, lost with the object: for renderers and tests.
class MemoryStore : public UserStore {
 public:
  [[nodiscard]] std::optional<std::string> read(std::string_view name) override;
  bool update(std::string_view name, const Change& change) override;

 private:
  std::mutex mutex;
  std::map<std::string, std::string, std::less<>> texts;
};
