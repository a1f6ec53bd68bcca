#pragma once

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <map>
#include <set>
#include <vector>

#include "core/parameter_table.h"
#include "editor/layout/tag_table.h"
#include "tests/editor/user.h"
#include "tests/support/script.h"
#include "toolkit/file_browser.h"

using Values = std::vector<float>;

/// Eight bands have tags of their own: those of the first are told.
inline std::string tagName(std::int32_t tag) {
  if (tag > kGUIBandGR) tag -= (tag - kGUIBandGR) % 10;
  return tag < kNumParams ? parameterKeyTable().name(tag) : std::string(tagTable().nameOf(tag));
}

/// Scripts of what a user does, which say what has changed by it.
class WholeSurface : public Script {
 protected:
  WholeSurface() : user(on.machine) {
    for (int band = 0; band < kNumBands; ++band) activate(band, true);
    user.wait(100);
    before = values();
    commands["file"] = [this] {
      const std::filesystem::path path = on.machine.folders().presets() + row[1];
      std::filesystem::create_directories(path.parent_path());
      EXPECT_TRUE(user.plug.presetFiles().savePreset(path, kPresetExtension, true));
    };
    commands["band"] = [this] {
      user.plug.editorState().currentBand = number(1);
      setKind(number(1), number(2));
      turnTo(0);
    };
    commands["at"] = [this] { user.click(number(1), number(2), buttonOf(row[3])); };
    commands["drag"] = [this] {
      const CPoint at = middleOf(*user.editor->index().find(tagged()));
      user.down(at.x, at.y);
      user.move(at.x + static_cast<float>(number(2)), at.y);
      user.up(at.x + static_cast<float>(number(2)), at.y);
    };
    commands["click"] = [this] { click(buttonOf(row[3])); };
    commands["choose"] = [this] { EXPECT_TRUE(user.choose(row[1])) << row[1]; };
    commands["setup"] = [this] { user.editor->openSetup(number(1)); };
    commands["focus"] = [this] {
      user.frame().setFocusView(user.editor->index().find(tagged(), number(2)));
    };
    commands["key"] = [this] {
      static const std::map<std::string, Key> kKeys = {{"escape", Key::kEscape},
                                                       {"return", Key::kReturn},
                                                       {"space", Key::kSpace},
                                                       {"tab", Key::kTab}};
      user.key(kKeys.at(row[1]));
      const auto* const focused = dynamic_cast<CControl*>(user.frame().getFocusView());
      if (row[1] == "tab" && focused != nullptr) say(tagName(focused->getTag()));
    };
    commands["type"] = [this] { user.editor->setValueFromText(tagged(), row[2]); };
    // How many pictures of a second, taken every 250 ms, differ from the one before.
    commands["blinks"] = [this] {
      int changes = 0;
      for (int i = 0; i < 4; ++i) {
        const std::vector<std::uint32_t> earlier = pixels();
        user.wait(250);
        changes += pixels() != earlier ? 1 : 0;
      }
      say(changes);
    };
    commands["drawn"] = [this] { tagged(); };
  }

  [[nodiscard]] std::vector<std::uint32_t> pixels() {
    const CBitmap& picture = *user.frame().picture();
    return {picture.pixels(), picture.pixels() + picture.getWidth() * picture.getHeight()};
  }
  std::int32_t tagged() {
    const std::int32_t tag = tagTable().find(row[1]);
    handled.insert(tag);
    return tag;
  }
  /// 0 for a crossover band, otherwise a filter's kind from 1.
  void setKind(int band, int kind) {
    user.plug.setParameter(bandParameterId(band, kB1Type), kind > 0 ? 1.0F : 0.0F);
    const int shape = std::max(kind - 1, 0);
    user.plug.setParameter(bandParameterId(band, kB1SubType), static_cast<float>(shape) / 7.0F);
  }
  void activate(int band, bool isActive) {
    user.plug.setParameter(bandParameterId(band, kB1State), isActive ? 1.0F : 0.0F);
  }
  void turnTo(int mode) {
    user.plug.editorState().wantedUimode = mode;
    user.plug.editorState().layoutWanted = true;
    user.wait(20);
  }
  [[nodiscard]] Values values() {
    Values all(kNumParams);
    for (int id = 0; id < kNumParams; ++id) {
      all[static_cast<std::size_t>(id)] = user.plug.getParameter(id);
    }
    return all;
  }
  static CButton buttonOf(const std::string& words) {
    return words.find("right") != std::string::npos ? kRButton : kLButton;
  }
  /// All controls that can be seen.
  [[nodiscard]] std::vector<CControl*> shown() const {
    std::vector<CControl*> found;
    const ControlIndex& index = user.editor->index();
    for (int i = 0; i < index.getControlCount(); ++i) {
      CControl* const control = index.getControl(i);
      if (control->isShown() && control->getTag() >= 0) found.push_back(control);
    }
    return found;
  }
  static CPoint middleOf(const CControl& control) {
    return control.localToFrame(control.getViewSize().centre());
  }
  void click(CButton button) {
    const std::int32_t tag = tagged();
    int which = row[2].empty() ? 0 : number(2);
    for (const CControl* const control : shown()) {
      if (control->getTag() != tag || which-- > 0) continue;
      const CPoint at = middleOf(*control);
      user.click(at.x, at.y, button);
      return;
    }
    FAIL() << row[1] << " is not to be seen";
  }

  /// What has changed since the last row.
  void afterRow() override {
    user.wait(300);
    const Values now = values();
    int count = 0;
    for (int id = 0; id < kNumParams; ++id) {
      const auto at = static_cast<std::size_t>(id);
      if (now[at] != before[at] && ++count <= 2) say(tagName(id) + "=" + user.textOf(id));
    }
    const std::string name = user.presetName();
    if (name != std::exchange(preset, name)) say("'" + name + "'");
    if (count > 2) say("and " + std::to_string(count - 2) + " more");
    before = now;
    const EditorState& state = user.plug.editorState();
    std::map<std::string, double> things = {{"mode", state.uimode},
                                            {"bank", user.plug.getCurrentBank()},
                                            {"band", state.currentBand},
                                            {"selected", state.selectedBands},
                                            {"graph", state.bandGraph},
                                            {"width", state.freeWidth},
                                            {"heard before", state.lastListen},
                                            {"undo", user.plug.canUndo()},
                                            {"redo", user.plug.canRedo()},
                                            {"tray", isSeen(kGUIPresetName)},
                                            {"setup", isSeen(kGUISetupPage)},
                                            {"banks", isSeen(kGUISaveBank)},
                                            {"height", static_cast<double>(heightOfWindow())}};
    for (const std::int32_t tag : {kGUISetupPage, kGUIBandSCListen, kGUIShowSlope2}) {
      things[tagName(tag)] = user.editor->index().find(tag)->getValue();
    }
    things["learning"] = on.machine.midiMap().getLearnTarget();
    for (int id = 0; id < kNumParams; ++id) {
      things["locked"] += user.plug.isLocked(id) ? 1 : 0;
      things["linked"] += user.plug.isLinked(id) ? 1 : 0;
      things["mapped"] += on.machine.midiMap().controllerOf(id) >= 0 ? 1 : 0;
    }
    for (const auto& [thing, value] : things) {
      const auto [place, isNew] = last.try_emplace(thing, value);
      if (!isNew && place->second != value) say(thing + "=" + std::to_string(std::lround(value)));
      place->second = value;
    }
    CView* const modal = user.frame().getModalView();
    if (auto* const menu = dynamic_cast<PopupMenu*>(modal)) {
      const MenuPanel& panel = menu->panel(menu->panelCount() - 1);
      for (int i = 0; panel.entry(i) != nullptr; ++i) say("[" + panel.entry(i)->text + "]");
    } else if (const auto* const chooser = dynamic_cast<FileBrowser*>(modal)) {
      say("chooser '" + chooser->nameField().text() + "'");
    } else if (modal != nullptr) {
      say("box");
    }
  }
  [[nodiscard]] bool isSeen(std::int32_t tag) const {
    const auto all = shown();
    return std::ranges::any_of(all, [tag](const CControl* c) { return c->getTag() == tag; });
  }

  [[nodiscard]] int heightOfWindow() const {
    ERect* rect = nullptr;
    return user.editor->getRect(&rect) ? rect->bottom : 0;
  }

  /// Turns the wheel over, or clicks, every control of a parameter that can be seen.
  void moveAllShown() {
    const auto all = shown();
    for (const CControl* const control : all) {
      const std::int32_t tag = control->getTag();
      if (tag >= kNumParams || handled.contains(tag)) continue;
      const CPoint at = middleOf(*control);
      const bool isMoved = movesAndComesBack(tag, at, 1.0F) || movesAndComesBack(tag, at, -1.0F) ||
                           movesAndComesBack(tag, at, 0.0F);
      if (isMoved) handled.insert(tag);
    }
  }
  /// By so many steps of the wheel, by a click for none of them.
  bool movesAndComesBack(std::int32_t tag, CPoint at, float steps) {
    if (steps != 0.0F) {
      user.frame().events().wheel({at.x, at.y}, steps, {});
    } else {
      user.click(at.x, at.y);
    }
    user.wait(300);
    if (user.frame().getModalView() != nullptr) user.key(Key::kEscape);
    const auto place = static_cast<std::size_t>(tag);
    const bool isMoved = values()[place] != before[place];
    while (values() != before && user.plug.canUndo()) user.plug.undo();
    user.wait(20);
    EXPECT_EQ(values(), before) << tagName(tag) << " is not undone";
    return isMoved;
  }

  OnMachine on;
  User user;
  Values before;
  std::string preset;
  std::map<std::string, double> last;
  std::set<std::int32_t> handled;
};
