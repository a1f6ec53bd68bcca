#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "state/user_store.h"

/// A store in memory that can fail in two ways, and lets a test act in the midst of an update.
class TestStore : public UserStore {
 public:
  enum class Mode { kWorks, kDoesNotWrite, kDoesNotEvenAsk };

  [[nodiscard]] std::optional<std::string> read(std::string_view name) override {
    const std::lock_guard lock(mutex);
    return find(name);
  }
  bool update(std::string_view name, const Change& change) override {
    const std::lock_guard lock(mutex);
    ++updates;
    if (mode == Mode::kDoesNotEvenAsk) return false;
    const std::optional<std::string> text = change(find(name));
    if (afterChange) afterChange();
    if (mode == Mode::kDoesNotWrite) return false;
    if (text) texts[std::string(name)] = *text;
    return true;
  }
  /// As another process would.
  void put(std::string_view name, const std::string& text) { texts[std::string(name)] = text; }
  [[nodiscard]] std::string text(std::string_view name) { return read(name).value_or("(none)"); }

  Mode mode = Mode::kWorks;
  int updates = 0;
  std::function<void()> afterChange;

 private:
  std::optional<std::string> find(std::string_view name) const {
    const auto found = texts.find(name);
    if (found == texts.end()) return std::nullopt;
    return found->second;
  }

  std::mutex mutex;
  std::map<std::string, std::string, std::less<>> texts;
};
