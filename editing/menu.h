#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// A menu as data: what an editor shows, and what each entry does. Whatever the actions work on
/// must outlive it. Threads: message thread.
struct Menu {
  struct Entry {
    std::string text;                        ///< UTF-8; empty for a separator
    std::function<void()> action = nullptr;  ///< null for what does nothing
    std::vector<Entry> submenu = {};         ///< of a submenu, which has no action
    bool isSubmenu = false;                  ///< also of one without entries
    bool enabled = true;
    bool checked = false;

    [[nodiscard]] bool isSeparator() const noexcept { return text.empty() && !isSubmenu; }
    /// Does what the user has chosen; nothing for an entry that cannot be.
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
  /// The title of `menu` is the text of its entry.
  void addSubmenu(Menu menu) {
    entries.push_back({std::move(menu.title)});
    entries.back().submenu = std::move(menu.entries);
    entries.back().isSubmenu = true;
  }

  std::string title = {};
  std::vector<Entry> entries = {};
};
