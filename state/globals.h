#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "state/json_document.h"
#include "state/user_store.h"

/// A preference, as a setup page shows it.
struct Preference {
  std::string key;
  std::int32_t value = 0;           ///< the choice: an index into `values`
  int page = 0;                     ///< number of the setup page
  std::vector<std::string> values;  ///< texts of the choices
};

/// The machine-wide preferences, each a number that stands for one of several texts. Threads: any
/// but the audio thread; locks by itself, always after the store's lock.
class Globals {
 public:
  /// Reads the stored choices. `store` must outlive it.
  explicit Globals(UserStore& store);

  /// Takes the table of all preferences; on first use on a machine its defaults are stored. A text
  /// that is no JSON object changes nothing.
  void initGlobals(const char* text);

  /// The stored choice, otherwise the table's default. 0 without a table, -2 for a key that is not
  /// in it, -3 for an entry without a default. Keys are case-insensitive.
  [[nodiscard]] std::int32_t getGlobal(const char* key) const;
  /// As `getGlobal`, but returns `absent` if there are no choices at all.
  [[nodiscard]] std::int32_t getGlobal(const char* key, std::int32_t absent) const;
  /// Stores a choice at once, and takes over choices that other processes have stored meanwhile. A
  /// choice that cannot be written is valid in this process, and the next call tries again.
  void setGlobal(const char* key, std::int32_t value);

  /// The whole table, in its order.
  [[nodiscard]] std::vector<Preference> list() const;
  // The table's entries by index, for the setup page; "" or 0 if out of range.
  [[nodiscard]] int getGroupCount() const;
  [[nodiscard]] std::string getGroupName(int index) const;
  [[nodiscard]] int getGroupValueCount(int index) const;
  [[nodiscard]] std::string getGroupValue(int index, int value) const;
  [[nodiscard]] int getGroupPage(int index) const;

 private:
  using Choices = std::map<std::string, std::int32_t>;

  std::int32_t find(const char* key) const;
  std::optional<std::string> storeDefaults(const std::optional<std::string>& stored);
  std::optional<std::string> storeChoices(const std::optional<std::string>& stored, Choices& taken);
  void apply(const Choices& choices);

  UserStore& store;
  // Never held while the store is called, since it is taken under the store's lock.
  mutable std::mutex mutex;
  JsonTree values;           // object of key to number; null for none
  JsonTree defaults;         // the table; null before `initGlobals`
  std::string defaultsText;  // of that table
  Choices unsaved;           // not written yet
};
