#pragma once

#include <atomic>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "state/user_store.h"

/// A store in memory that can fail in two ways, and lets a test act in the midst of an update.
class TestStore : public MemoryStore {
 public:
  bool update(std::string_view name, const Change& change) override {
    ++updates;
    if (mode == "ask") return false;
    MemoryStore::update(name, [&](const std::optional<std::string>& old) {
      const std::optional<std::string> text = change(old);
      if (afterChange) afterChange();
      return mode == "write" ? std::nullopt : text;
    });
    return mode != "write";
  }
  /// As another process would.
  void put(std::string_view name, const std::string& text) {
    MemoryStore::update(name, [&text](const auto&) { return text; });
  }
  [[nodiscard]] std::string text(std::string_view name) { return read(name).value_or("(none)"); }

  std::string mode;  // what fails: to "write" or even to "ask"
  std::atomic<int> updates = 0;
  std::function<void()> afterChange;
};
