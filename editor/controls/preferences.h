#pragma once

#include <cstdint>

#include "editor/controls/setting_rows.h"

class Globals;
class PresetFiles;

/// The preferences of the machine, on the pages that their table tells. A change is stored at once;
/// the listener then applies it (`Plug::applyGlobalPreferences`, and what the editor itself reads).
/// "Save As Default" writes the bank that new instances start with, and says so for two seconds.
class Preferences : public SettingRows {
 public:
  /// Both outlive it.
  Preferences(const ControlSetup& setup, Globals& preferences, PresetFiles& bankFiles);

  void onIdle() override;
  void removed() override;

 protected:
  [[nodiscard]] SettingPage page() const override;
  void write(const SettingRow& row, double number) override;
  void showTab(int tab) override;
  void pressButton() override;

 private:
  Globals& globals;
  PresetFiles& files;
  int shownPage = 0;
  bool isSaved = false;
  std::uint64_t savedAt = 0;  // ms
};
