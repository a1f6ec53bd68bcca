#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

/// A user's settings outside any session: texts by name, shared by all instances and processes.
/// Threads: any but the audio thread.
class UserStore {
 public:
  /// Gets the text that stands there (null for none) and gives the one to put in its place; null
  /// leaves it as it is.
  using Change = std::function<std::optional<std::string>(const std::optional<std::string>&)>;

  UserStore() = default;
  virtual ~UserStore() = default;
  UserStore(const UserStore&) = delete;
  UserStore& operator=(const UserStore&) = delete;

  /// The text under `name`; an empty text counts as missing.
  [[nodiscard]] virtual std::optional<std::string> read(std::string_view name) = 0;
  /// Reads, asks `change` and writes, as one step that no other process comes between. False when
  /// it could not be written; where memory runs out it throws and nothing is written, either.
  virtual bool update(std::string_view name, const Change& change) = 0;
  /// As `update`, but without waiting for other processes: what is only worth storing when that
  /// costs nothing. While one of them has the store it is false, and nobody is told.
  virtual bool updateIfFree(std::string_view name, const Change& change) {
    return update(name, change);
  }
  bool write(std::string_view name, std::string text);

  /// What went wrong since the last call, a sentence for the user; empty for nothing, and for what
  /// was told before and still goes wrong.
  [[nodiscard]] virtual std::string takeNotice() { return {}; }
};

/// Forgotten with the object: for renderers and tests.
class MemoryStore : public UserStore {
 public:
  [[nodiscard]] std::optional<std::string> read(std::string_view name) override;
  bool update(std::string_view name, const Change& change) override;

 private:
  std::mutex mutex;
  std::map<std::string, std::string, std::less<>> texts;
};
