#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// A menu as data: what an editor shows and what each entry does. Everything the actions work on
/// must outlive the menu. Threads: message thread.
struct Menu {
  struct Entry {
    std::string text;                        ///< UTF-8; empty for a separator
    std::function<void()> action = nullptr;  ///< null if choosing the entry does nothing
    std::vector<Entry> submenu = {};         ///< entries of a submenu, which has no action
    bool isSubmenu = false;                  ///< true even if it has no entries
    bool enabled = true;
    bool checked = false;

    [[nodiscard]] bool isSeparator() const noexcept { return text.empty() && !isSubmenu; }
    /// Runs the action, unless the entry is disabled or has none.
    void choose() const {
      if (enabled && action) action();
    }
  };

  void add(std::string text, std::function<void()> action) {
    entries.push_back({std::move(text), std::move(action)});
  }
  void addChecked(std::string text, bool checked, std::function<void()> action) {
    add(std::move(text), std::move(action));
    entries.back().checked = checked;
  }
  void addSeparator() { entries.push_back({}); }
  /// The title of `menu` becomes the text of the entry.
  void addSubmenu(Menu menu) {
    entries.push_back({std::move(menu.title)});
    entries.back().submenu = std::move(menu.entries);
    entries.back().isSubmenu = true;
  }

  std::string title = {};
  std::vector<Entry> entries = {};
};
