#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/plug_base_mutex.h"
#include "state/json_document.h"

/// An option of the graphs, as a list of options shows it.
struct UiOption {
  std::string group;
  std::string key;
  double value = 0.0;               ///< an index into `values`, or a number from `min` to `max`
  std::vector<std::string> values;  ///< texts of the choices; empty for a number
  std::string unit;                 ///< of a number
  double min = 0.0;
  double max = 0.0;
  bool hidden = false;    ///< not shown
  bool isColour = false;  ///< the number is a colour, 0xRRGGBB
};

/// A table of graph options: groups of entries, each with a first value and texts or limits.
/// Immutable: any threads at a time.
struct UiTable {
  /// If the text cannot be parsed there are no options, and the position of the fault is printed on
  /// the standard error stream. Throws std::bad_alloc.
  explicit UiTable(const char* text);

  const std::shared_ptr<const JsonNode> root;  ///< null without options
  std::vector<const JsonNode*> values;         ///< the nodes of all values, in their order
};

/// The graph options of one instance: the values of a table. Threads: any but the audio thread;
/// locks by itself.
class UiSettings {
 public:
  /// `options` is not null. Throws std::bad_alloc.
  explicit UiSettings(std::shared_ptr<const UiTable> options);

  /// The value of an entry; 0 if it is missing. Names are case-insensitive.
  [[nodiscard]] double getUiValue(std::string_view group, std::string_view key) const;
  /// Sets the value of an entry; unknown names do nothing. Throws std::bad_alloc.
  void setUiValue(std::string_view group, std::string_view key, double value);

  /// The whole table, in its order.
  [[nodiscard]] std::vector<UiOption> list() const;

  /// A number that changes whenever a value changes.
  [[nodiscard]] unsigned revision() const noexcept {
    return changes.load(std::memory_order_relaxed);
  }
  /// The table with its values, as a member for a document; null without options. Throws
  /// std::bad_alloc.
  [[nodiscard]] JsonTree save() const;
  /// Takes values from a document's member for entries that this table has, too; texts and limits
  /// stay those of the table.
  void merge(const JsonNode* uiprefs);

 private:
  struct Value {
    std::uint32_t type;
    std::int32_t valueInt;
    double valueDouble;
  };

  // All under `mutex`.
  [[nodiscard]] std::size_t placeOf(const JsonNode* valueNode) const noexcept;
  [[nodiscard]] std::size_t find(std::string_view group, std::string_view key) const;
  [[nodiscard]] JsonTree copyOf(const JsonNode& node, std::size_t& nextPlace) const;
  void set(Value& value, std::int32_t valueInt, double valueDouble);
  void mergeGroup(const JsonNode& group, const JsonNode* stored);

  const std::shared_ptr<const UiTable> table;
  std::vector<Value> values;  // in the order of the table; under `mutex`
  std::atomic<unsigned> changes{0};
  mutable PlugBaseMutex mutex;
};
