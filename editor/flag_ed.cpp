#include "editor/flag_ed.h"

#include <algorithm>
#include <mutex>
#include <string_view>

#include "core/plug.h"
#include "editor/controls/preset_menus.h"
#include "editor/controls/tiled_buttons.h"
#include "editor/controls/tiles.h"
#include "editor/controls/value_part.h"
#include "editor/layout/tag_table.h"
#include "host/file_errors.h"
#include "platform/paths.h"
#include "state/install_folders.h"

namespace {

constexpr int kAboutPage = 3;

bool isOfKind(const std::string& path, std::string_view extension) {
  const std::string_view own = extensionOf(path);
  return !own.empty() && own.substr(1) == extension;
}

void setDisabled(const ControlIndex& controls, std::int32_t tag, bool on) {
  controls.forEach(tag, [on](CControl& control) {
    if (auto* const button = dynamic_cast<nCanDisable*>(&control)) button->setDisabled(on);
  });
}

CPoint middleOf(const CControl* control) {
  return control->localToFrame(control->getViewSize().centre());
}

/// Row by row; what stands in one may be of different heights.
void sortAsRead(std::vector<CControl*>& order) {
  constexpr float kSameRow = 8.0F;
  std::ranges::stable_sort(order, {}, [](const CControl* c) { return middleOf(c).y; });
  for (auto row = order.begin(); row != order.end();) {
    const float last = middleOf(*row).y + kSameRow;
    const auto end =
        std::find_if(row, order.end(), [last](const CControl* c) { return middleOf(c).y > last; });
    std::stable_sort(row, end, [](const CControl* a, const CControl* b) {
      return middleOf(a).x < middleOf(b).x;
    });
    row = end;
  }
}

}  // namespace

void FlagEd::valueChanged(CControl& control) {
  const std::int32_t tag = control.getTag();
  // A button that is let go has told all it has to tell when it was pressed.
  const bool isRelease = dynamic_cast<CKickButton*>(&control) != nullptr && control.getValue() == 0;
  if (isRelease) return;
  if (tag >= kGUIEQGraph) {
    tagChanged(tag, control);
  } else {
    VGEditor::valueChanged(control);
  }
}

void FlagEd::tagChanged(std::int32_t tag, const CControl& control) {
  const float value = control.getValue();
  switch (tag) {
    case kGUIUndo:
      effect().undo();
      return;
    case kGUIRedo:
      effect().redo();
      return;
    case kGUISetup:
      // The button goes to and fro; the cross of the window sends 0.
      setupOpen = value != 0.0F && !setupOpen;
      showSetup();
      return;
    case kGUISetupPage:
      setupPage = static_cast<int>(value);
      showSetup();
      return;
    case kGUIAbout:
      openSetup(kAboutPage);
      return;
    case kGUIPresetPage:
      trayOpen = value != 0.0F;
      showTray();
      return;
    case kGUIPresetPrev:
    case kGUIPresetNext:
      stepPreset(tag == kGUIPresetNext);
      return;
    case kGUIPresetUI:
      effect().setLoadingFlags(effect().getLoadingFlags() ^ LoadingFlags::kCarriesEditor);
      return;
    case kGUISave:
    case kGUILoad:
    case kGUISaveBank:
    case kGUILoadBank:
      if (value == 1.0F) askForFile(tag);
      return;
    case kGUIPresetMenu:
    case kGUIPresetName:
      showValue(kGUIPresetName, 0.0F);
      return;
    default:  // pages and what shows the same
      showValue(tag, value);
  }
}

void FlagEd::viewsBuilt() {
  effect().editorState().visitedBanks = 1U << static_cast<std::uint32_t>(effect().getCurrentBank());
}

void FlagEd::viewsClose() {
  setupOpen = false;
  presetsRead = false;
  VGEditor::viewsClose();
}

void FlagEd::showOwnState() {
  if (!presetsRead) refreshPresetMenu();
  presetsRead = true;
  showTray();
  showSetup();
  const bool carries = (effect().getLoadingFlags() & LoadingFlags::kCarriesEditor) != 0;
  showValue(kGUIPresetUI, carries ? 1.0F : 0.0F);
}

void FlagEd::showTray() {
  showValue(kGUIPresetPage, trayOpen ? 1.0F : 0.0F);
  showValue(kGUIPresetBox, trayOpen ? 0.0F : 1.0F);  // it is the page of number 0
}

void FlagEd::showSetup() {
  index().forEach(kGUISetup, [this](CControl& control) {
    if (auto* const button = dynamic_cast<tiledKickButton*>(&control)) {
      button->setLit(setupOpen);
    } else {
      control.setValue(setupOpen ? 1.0F : 0.0F);
      control.setDirty(true);
    }
  });
  showValue(kGUISetupPage, static_cast<float>(setupPage));
  releaseCoveredFocus();
}

void FlagEd::openSetup(int page) {
  const std::lock_guard guard(getFrame()->treeLock());
  setupOpen = true;
  setupPage = page;
  showSetup();
}

void FlagEd::showButtons() {
  setDisabled(index(), kGUIUndo, !effect().canUndo());
  setDisabled(index(), kGUIRedo, !effect().canRedo());
  setDisabled(index(), kGUIPresetPrev, !effect().presetFiles().previousEnabled());
  setDisabled(index(), kGUIPresetNext, !effect().presetFiles().nextEnabled());
}

void FlagEd::refreshPresetMenu() {
  index().forEach(kGUIPresetMenu, [](CControl& control) {
    if (auto* const menu = dynamic_cast<CPresetMenu*>(&control)) menu->refresh();
  });
}

void FlagEd::stepPreset(bool forward) {
  PresetFiles& files = effect().presetFiles();
  if (files.presetMenu() == nullptr) files.buildPresetMenu();
  if (forward) {
    files.nextPreset();
  } else {
    files.previousPreset();
  }
}

void FlagEd::askForFile(std::int32_t tag) {
  PresetFiles& files = effect().presetFiles();
  const bool isPreset = tag == kGUISave || tag == kGUILoad;
  const char* const extension = isPreset ? kPresetExtension : kBankExtension;
  if (dialogs() == nullptr) return;
  if (tag == kGUISave || tag == kGUISaveBank) {
    files.savePresetDialog(*dialogs(), extension, isPreset);
  } else {
    files.loadPresetDialog(*dialogs(), extension);
  }
}

bool FlagEd::takeFile(const std::string& path, CPoint /*where*/) {
  if (!isOfKind(path, kPresetExtension) && !isOfKind(path, kBankExtension)) return false;
  effect().presetFiles().loadPresetFile(path);
  return true;
}

void FlagEd::filesDropped(CPoint where, const std::vector<std::string>& paths) {
  if (paths.empty()) return;
  for (const std::string& path : paths) {
    if (takeFile(path, where)) return;
  }
  reportFileContent(paths.front(), "is no preset, bank or band file", "Nothing has been changed");
}

bool FlagEd::frameKeyDown(const KeyEvent& key) {
  if (key.key == Key::kTab) return moveFocus(!key.modifiers.has(kShift));
  if (key.key == Key::kEscape) return closeWhatFloats();
  if (!key.modifiers.has(kControl) || key.modifiers.has(kAlt)) return false;
  switch (key.character) {
    case 'z':
      if (key.modifiers.has(kShift)) {
        effect().redo();
      } else {
        effect().undo();
      }
      return true;
    case 'y':
      effect().redo();
      return true;
    case 's':
      askForFile(kGUISave);
      return true;
    case 'o':
      askForFile(kGUILoad);
      return true;
    default:
      return false;
  }
}

bool FlagEd::closeWhatFloats() {
  if (setupOpen) {
    setupOpen = false;
    showSetup();
    return true;
  }
  if (getFrame()->getFocusView() != nullptr) {
    getFrame()->setFocusView(nullptr);
    return true;
  }
  if (!trayOpen) return false;
  trayOpen = false;
  showTray();
  return true;
}

/// What darkens the surface comes after all that it lies over.
bool FlagEd::isCovered(int control) const {
  const CControl& below = *index().getControl(control);
  const CPoint middle = below.localToFrame(below.getViewSize().centre());
  for (int i = control + 1; i < index().getControlCount(); ++i) {
    const auto* const dark = dynamic_cast<const nDarken*>(index().getControl(i));
    if (dark == nullptr || !dark->isShown()) continue;
    if (dark->getViewSize().contains(dark->frameToLocal(middle))) return true;
  }
  return false;
}

void FlagEd::releaseCoveredFocus() {
  const CView* const focused = getFrame()->getFocusView();
  for (int i = 0; focused != nullptr && i < index().getControlCount(); ++i) {
    if (index().getControl(i) != focused) continue;
    if (!focused->isShown() || isCovered(i)) getFrame()->setFocusView(nullptr);
    return;
  }
}

bool FlagEd::moveFocus(bool forward) {
  std::vector<CControl*> order;
  for (int i = 0; i < index().getControlCount(); ++i) {
    CControl* const control = index().getControl(i);
    const auto* const taker = dynamic_cast<nCanFocus*>(control);
    if (taker != nullptr && taker->isTabStop() && control->isShown() && !isCovered(i)) {
      order.push_back(control);
    }
  }
  if (order.empty()) return false;
  sortAsRead(order);
  const auto present = std::ranges::find(order, getFrame()->getFocusView());
  const auto count = static_cast<std::ptrdiff_t>(order.size());
  std::ptrdiff_t next = forward ? 0 : count - 1;
  if (present != order.end()) {
    next = (present - order.begin() + (forward ? 1 : count - 1)) % count;
  }
  getFrame()->setFocusView(order[static_cast<std::size_t>(next)]);
  return true;
}

void FlagEd::idle() {
  if (isOpen()) {
    const std::lock_guard guard(getFrame()->treeLock());
    EditorState& state = effect().editorState();
    if (state.loadingFlagsStale.exchange(false)) showOwnState();
    if (state.presetMenuStale.exchange(false)) refreshPresetMenu();
    if (state.presetNameStale.exchange(false)) showValue(kGUIPresetName, 0.0F);
    showButtons();
  }
  VGEditor::idle();
}
