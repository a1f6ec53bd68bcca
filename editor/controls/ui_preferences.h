#pragma once

#include <cstddef>
#include <string_view>

#include "editor/controls/setting_rows.h"

class Plug;
class UiSettings;

/// The options of the graphs, in the groups of their table. Groups "Misc" and "Meters" have tabs of
/// their own, and so has a group for which there is no room. Every change is stored in the effect's
/// options; the listener then marks the state as changed and lets the graphs read it.
///
/// The menu of a row, by the right button or shift and Return, also keeps a group, or all, as
/// default of new instances, goes back to that, and copies all settings as text to the clipboard
/// and back. The button opens the same for all groups.
class UIPreferences : public SettingRows {
 public:
  UIPreferences(const ControlSetup& setup, Plug& effect);

  /// Takes settings as `copyAll` has put them to the clipboard; what is no such text, and what the
  /// table does not know, changes nothing.
  void pasteAll(std::string_view text);

 protected:
  [[nodiscard]] SettingPage page() const override;
  void write(const SettingRow& row, double number) override;
  void showTab(int tab) override;
  void pressButton() override;
  void addMore(Menu& menu, const SettingRow& row) override;
  void openColour(const SettingRow& row) override;

 private:
  void copyAll();
  void addGroupEntries(Menu& menu, const std::string& group);
  void addCommonEntries(Menu& menu);
  void restore(const std::string& group);
  [[nodiscard]] bool hasOtherGraphs(const SettingRow& row) const;
  void propagate(const SettingRow& row);

  Plug& plug;
  int shownTab = 0;
};
