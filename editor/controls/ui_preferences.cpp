#include "editor/controls/ui_preferences.h"

#include <algorithm>
#include <string>
#include <utility>

#include "core/plug.h"
#include "core/ui_defaults.h"
#include "editor/controls/action_menu.h"
#include "editor/controls/colour_picker.h"
#include "state/document_keys.h"
#include "state/json_memory.h"
#include "toolkit/frame.h"
#include "toolkit/look.h"

namespace {

constexpr float kGroupsLeft = 18.0F;
constexpr float kGroupsTop = 10.0F;
constexpr float kColumnWidth = 196.0F;
constexpr float kColumnPitch = 218.0F;
constexpr int kColumns = 2;
constexpr float kHeadingHeight = 24.0F;
constexpr float kRowsBelow = 30.0F;  // from the top of a heading to its first row
constexpr float kGroupGap = 16.0F;
constexpr std::string_view kOwnTabs[] = {"Misc", "Meters"};

SettingRow rowOf(const UiOption& option) {
  SettingRow row{option.group, option.key, option.values, option.unit, option.value};
  row.min = option.min;
  row.max = option.max;
  row.isColour = option.isColour;
  return row;
}

struct Group {
  std::string name;
  std::vector<SettingRow> rows;

  [[nodiscard]] float height() const {
    return kRowsBelow + static_cast<float>(rows.size()) * SettingRows::kRowPitch;
  }
};

std::vector<Group> groupsOf(const UiSettings& settings) {
  std::vector<Group> groups;
  for (const UiOption& option : settings.list()) {
    if (option.hidden) continue;
    if (groups.empty() || groups.back().name != option.group) groups.push_back({option.group, {}});
    groups.back().rows.push_back(rowOf(option));
  }
  return groups;
}

/// Puts groups under and then beside each other, and those without room on further pages.
class PageMaker {
 public:
  explicit PageMaker(float pageBottom) : bottom(pageBottom) {}

  void add(Group group) {
    const bool isOwn = std::ranges::find(kOwnTabs, group.name) != std::end(kOwnTabs);
    if (pages.empty() || isOwn || wasOwn) {
      begin(group.name);
    } else if (top > kGroupsTop && top + group.height() > bottom) {
      if (++column == kColumns) begin(group.name);
      top = kGroupsTop;
    }
    wasOwn = isOwn;
    SettingPage& page = pages.back();
    const float left = kGroupsLeft + static_cast<float>(column) * kColumnPitch;
    page.headings.push_back({group.name, {left, top, left + kColumnWidth, top + kHeadingHeight}});
    float rowTop = top + kRowsBelow;
    for (SettingRow& row : group.rows) {
      row.place = {left, rowTop, left + kColumnWidth, rowTop + look::kRowHeight};
      page.rows.push_back(std::move(row));
      rowTop += SettingRows::kRowPitch;
    }
    top += group.height() + kGroupGap;
  }

  [[nodiscard]] SettingPage page(int wanted) {
    if (pages.empty()) return {};
    const int shown = std::clamp(wanted, 0, static_cast<int>(pages.size()) - 1);
    SettingPage page = std::move(pages[static_cast<std::size_t>(shown)]);
    page.tab = shown;
    if (names.size() > 1) page.tabs = names;
    return page;
  }

 private:
  void begin(const std::string& name) {
    pages.emplace_back();
    names.push_back(name);
    column = 0;
    top = kGroupsTop;
  }

  float bottom;
  std::vector<SettingPage> pages;
  std::vector<std::string> names;
  int column = 0;
  float top = kGroupsTop;
  bool wasOwn = false;
};

}  // namespace

UIPreferences::UIPreferences(const ControlSetup& setup, Plug& effect)
    : SettingRows(setup), plug(effect) {}

SettingPage UIPreferences::page() const {
  PageMaker maker(kFootTop);
  for (Group& group : groupsOf(plug.uiSettings())) maker.add(std::move(group));
  SettingPage shown = maker.page(shownTab);
  shown.button = "Load/Save...";
  return shown;
}

void UIPreferences::write(const SettingRow& row, double number) {
  plug.uiSettings().setUiValue(row.group, row.name, number);
}

void UIPreferences::showTab(int tab) {
  shownTab = tab;
  setDirty();
}

void UIPreferences::openColour(const SettingRow& row) {
  if (getFrame() == nullptr) return;
  const auto colour = static_cast<std::uint32_t>(row.nearest(row.value));
  ColourPanel::open(*getFrame(), localToFrame(placed(row.place)), colour,
                    [stays = Held<UIPreferences>(this), shown = row](std::uint32_t chosen) mutable {
                      if (stays->getFrame() == nullptr) return;
                      stays->change(shown, static_cast<double>(chosen));
                      shown.value = static_cast<double>(chosen);
                    });
}

void UIPreferences::addGroupEntries(Menu& menu, const std::string& group) {
  menu.add("Save settings for " + group + " as default",
           [this, group] { saveUiDefaults(plug.uiSettings(), group, plug.machine().folders()); });
  menu.add("Restore settings for " + group + " to default", [this, group] { restore(group); });
}

void UIPreferences::addCommonEntries(Menu& menu) {
  menu.add("Save all UI settings as Default",
           [this] { saveUiDefaults(plug.uiSettings(), {}, plug.machine().folders()); });
  menu.add("Restore all UI settings to Default", [this] { restore({}); });
  menu.addSeparator();
  menu.add("Copy All Settings", [this] { copyAll(); });
  menu.add("Paste All Settings", [this] {
    getFrame()->askClipboard(Clipboard::kClipboard, *this,
                             [this](std::string_view text) { pasteAll(text); });
  });
}

void UIPreferences::addMore(Menu& menu, const SettingRow& row) {
  addGroupEntries(menu, row.group);
  addCommonEntries(menu);
  menu.add("Propagate to All Graph Types", [this, row] { propagate(row); });
  menu.entries.back().enabled = hasOtherGraphs(row);
}

void UIPreferences::pressButton() {
  Menu menu;
  for (const Group& group : groupsOf(plug.uiSettings())) addGroupEntries(menu, group.name);
  menu.addSeparator();
  addCommonEntries(menu);
  openActionMenu(*this, std::move(menu), placed(buttonPlace()), false);
}

void UIPreferences::restore(const std::string& group) {
  restoreUiDefaults(plug.uiSettings(), group, plug.machine().folders());
  changedAll();
}

void UIPreferences::copyAll() {
  JsonTree options = plug.uiSettings().save();
  if (options == nullptr || getFrame() == nullptr) return;
  const JsonTree document(made(jsonCreateObject()));
  addToObject(*document, documentKey::kUiPrefs, options.release());
  const JsonText text(made(jsonPrintFormatted(document.get())));
  getFrame()->putClipboard(Clipboard::kClipboard, text.get());
}

void UIPreferences::pasteAll(std::string_view text) {
  if (text.size() > kMostDocumentBytes) return;
  const JsonTree document = parsedJson(std::string(text).c_str());
  const JsonNode* const options = jsonGetObjectItem(document.get(), documentKey::kUiPrefs);
  if (!jsonIsType(options, kJsonObject)) return;
  UiSettings& settings = plug.uiSettings();
  const unsigned before = settings.revision();
  settings.merge(options);
  for (const UiOption& option : settings.list()) {
    settings.setUiValue(option.group, option.key, rowOf(option).nearest(option.value));
  }
  if (settings.revision() != before) changedAll();
}

/// Whether other groups have the same setting.
bool UIPreferences::hasOtherGraphs(const SettingRow& row) const {
  const std::vector<UiOption> all = plug.uiSettings().list();
  return std::ranges::any_of(all, [&row](const UiOption& option) {
    return option.group != row.group && option.key == row.name && option.values == row.choices;
  });
}

void UIPreferences::propagate(const SettingRow& row) {
  for (const UiOption& option : plug.uiSettings().list()) {
    if (option.key == row.name && option.values == row.choices) {
      plug.uiSettings().setUiValue(option.group, option.key, row.value);
    }
  }
  changedAll();
}
