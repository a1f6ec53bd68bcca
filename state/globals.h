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
  std::int32_t value = 0;           ///< the choice: a place in `values`
  int page = 0;                     ///< of the setup
  std::vector<std::string> values;  ///< texts of the choices
};

/// The machine-wide preferences: a number each, chosen among texts. Threads: any but the audio
/// thread; takes a lock of its own, and the store's before it.
class Globals {
 public:
  /// Reads the stored choices. `store` must outlive it.
  explicit Globals(UserStore& store);

  /// Takes the table of all preferences; the first time on a machine their defaults are stored.
  /// A text that is no JSON object changes nothing.
  void initGlobals(const char* text);

  /// The stored choice, or else the table's default. Without a table 0, for a key that is not in
  /// it -2, for an entry without a default -3. Keys in any case.
  [[nodiscard]] std::int32_t getGlobal(const char* key) const;
  /// As `getGlobal`, but `absent` when there are no choices at all.
  [[nodiscard]] std::int32_t getGlobal(const char* key, std::int32_t absent) const;
  /// Stores a choice at once; choices that other processes have made meanwhile are kept and taken.
  /// What cannot be written holds in this process, and the next call tries to store it as well.
  void setGlobal(const char* key, std::int32_t value);

  /// All of the table, in its order.
  [[nodiscard]] std::vector<Preference> list() const;
  // The table, for the setup page, by the order of its entries; out of range "" or 0.
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
  // Never held while the store is called: the store's lock may be held when this one is taken.
  mutable std::mutex mutex;
  JsonTree values;    // object of key to number; null for none
  JsonTree defaults;  // the table; null before `initGlobals`
  Choices unsaved;    // could not be written yet
};
