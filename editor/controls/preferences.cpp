#include "editor/controls/preferences.h"

#include <algorithm>
#include <array>
#include <utility>

#include "host/preset_files.h"
#include "state/globals.h"
#include "toolkit/frame.h"
#include "toolkit/look.h"

namespace {

constexpr float kPreferencesLeft = 18.0F;
constexpr float kPreferencesTop = 16.0F;
constexpr float kRowWidth = 240.0F;
constexpr std::uint64_t kSavedMs = 2000;
constexpr std::array<const char*, 3> kPageNames = {"Basics", "Mouse", "Behaviour"};

std::string nameOfPage(int page) {
  const auto index = static_cast<std::size_t>(page);
  return index < kPageNames.size() ? kPageNames[index] : "Page " + std::to_string(page + 1);
}

}  // namespace

Preferences::Preferences(const ControlSetup& setup, Globals& preferences, PresetFiles& bankFiles)
    : SettingRows(setup), globals(preferences), files(bankFiles) {}

SettingPage Preferences::page() const {
  SettingPage shown;
  int pages = 0;
  float top = kPreferencesTop;
  for (const Preference& preference : globals.list()) {
    pages = std::max(pages, preference.page + 1);
    if (preference.page != shownPage || preference.values.empty()) continue;
    SettingRow row{{}, preference.key, preference.values, {}, double(preference.value)};
    row.place = {kPreferencesLeft, top, kPreferencesLeft + kRowWidth, top + look::kRowHeight};
    shown.rows.push_back(std::move(row));
    top += kRowPitch;
  }
  for (int page = 0; pages > 1 && page < pages; ++page) shown.tabs.push_back(nameOfPage(page));
  shown.tab = shownPage;
  shown.button = isSaved ? "Saved" : "Save As Default";
  return shown;
}

void Preferences::write(const SettingRow& row, double number) {
  globals.setGlobal(row.name.c_str(), static_cast<std::int32_t>(number));
}

void Preferences::showTab(int tab) {
  shownPage = tab;
  setDirty();
}

void Preferences::pressButton() {
  isSaved = files.saveAsDefault();
  setDirty();
  if (!isSaved || getFrame() == nullptr) return;
  savedAt = getFrame()->now();
  getFrame()->wantIdle(*this, true);
}

void Preferences::onIdle() {
  if (getFrame()->now() < savedAt + kSavedMs) return;
  getFrame()->wantIdle(*this, false);
  isSaved = false;
  setDirty();
}

void Preferences::removed() {
  isSaved = false;
  SettingRows::removed();
}
