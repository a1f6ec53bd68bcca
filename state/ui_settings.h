#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/plug_base_mutex.h"
#include "state/json_document.h"

/// An option, as a list of options shows it.
struct UiOption {
  std::string group;
  std::string key;
  double value = 0.0;               ///< a place in `values`, or a number from `min` to `max`
  std::vector<std::string> values;  ///< texts of the choices; empty for a number
  std::string unit;                 ///< of a number
  double min = 0.0;
  double max = 0.0;
  bool hidden = false;    ///< not shown
  bool isColour = false;  ///< the number is one, 0xRRGGBB
};

/// The graph options of one instance: groups of entries, each with its value, its texts or its
/// limits. Threads: any but the audio thread; takes a lock of its own.
class UiSettings {
 public:
  /// `text`: the table of the program. One that does not parse leaves no options, and the standard
  /// error stream tells where it gave up. Throws std::bad_alloc.
  explicit UiSettings(const char* text);

  /// The value of an entry, names in any case; 0 if it is missing.
  [[nodiscard]] double getUiValue(std::string_view group, std::string_view key) const;
  /// Sets both number forms of an entry's value; unknown names do nothing. Throws std::bad_alloc.
  void setUiValue(std::string_view group, std::string_view key, double value);

  /// All of the table, in its order.
  [[nodiscard]] std::vector<UiOption> list() const;

  /// Another number whenever a value has become another one.
  [[nodiscard]] unsigned revision() const noexcept {
    return changes.load(std::memory_order_relaxed);
  }
  /// The table with its values as a document's member, for the caller; null without options. Throws
  /// std::bad_alloc.
  [[nodiscard]] JsonTree save() const;
  /// Takes the values of those entries of a document's member that this table has too; texts and
  /// limits stay its own.
  void merge(const JsonNode* uiprefs);

 private:
  // Both under `mutex`.
  void set(JsonNode& value, std::int32_t valueInt, double valueDouble);
  void mergeGroup(const JsonNode& group, const JsonNode* stored);

  JsonTree table;  // under `mutex`; its shape never changes
  std::atomic<unsigned> changes{0};
  mutable PlugBaseMutex mutex;
};
