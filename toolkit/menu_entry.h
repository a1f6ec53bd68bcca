#pragma once

#include <string>
#include <vector>

/// A row of a menu that is shown. Texts in UTF-8.
struct MenuEntry {
  std::string text;
  bool isSeparator = false;
  bool isEnabled = true;
  bool isChecked = false;
  bool isSubmenu = false;            ///< also of one without entries
  std::vector<MenuEntry> entries{};  ///< of a submenu

  /// Whether it can be chosen or opened.
  [[nodiscard]] bool isOfUse() const noexcept { return !isSeparator && isEnabled; }
};
