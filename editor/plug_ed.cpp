#include "editor/plug_ed.h"

#include <mutex>
#include <string_view>

#include "core/parameter_table.h"
#include "core/plug.h"
#include "editing/band_menu.h"
#include "editor/controls/rounded_frame.h"
#include "editor/controls/tool_tips.h"
#include "editor/layout/tag_table.h"
#include "editor/menu_adapter.h"
#include "editor/surface_layout.h"
#include "host/file_errors.h"
#include "platform/paths.h"
#include "state/install_folders.h"
#include "state/machine.h"

namespace {

bool isOfKind(const std::string& path, std::string_view extension) {
  const std::string_view own = extensionOf(path);
  return !own.empty() && own.substr(1) == extension;
}

bool isPanel(CControl& control) {
  auto* const wrapper = dynamic_cast<iControlWrapper*>(&control);
  return wrapper != nullptr && dynamic_cast<roundEdgedFrame*>(&wrapper->wrapped()) != nullptr;
}

void placeWithMouse(CControl& control, const CRect& place) {
  control.setViewSize(place);
  control.setMouseableArea(place);
}

}  // namespace

void FlagEd::valueChanged(CControl& control) {
  const float value = control.getValue();
  switch (control.getTag()) {
    case kGUISetup:
      setupOpen = value != 0.0F;
      showValue(kGUISetup, value);
      return;
    case kGUIPresetPage:
      trayOpen = value != 0.0F;
      showTray();
      return;
    case kGUIPresetUI:
      effect().setLoadingFlags(effect().getLoadingFlags() ^ LoadingFlags::kCarriesEditor);
      return;
    case kGUISave:
    case kGUILoad:
    case kGUISaveBank:
    case kGUILoadBank:
      if (value == 1.0F) askForFile(control.getTag());
      return;
    case kGUISetupPage:
    case kGUIPresetBank:
    case kGUIBandGraph:
    case kGUISelectedBand:
      showValue(control.getTag(), value);
      return;
    default:
      VGEditor::valueChanged(control);
  }
}

void FlagEd::viewsClose() { setupOpen = false; }

void FlagEd::showTray() {
  showValue(kGUIPresetPage, trayOpen ? 1.0F : 0.0F);
  showValue(kGUIPresetBox, trayOpen ? 0.0F : 1.0F);  // it is the page of number 0
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
  for (const std::string& path : paths) {
    if (takeFile(path, where)) return;
  }
  reportFileContent(paths.front(), "is no preset, bank or band file", "Nothing has been changed");
}

bool PlugEd::showsHelp() const {
  return effect().machine().globals().getGlobal("Mouseover Help") != 0;
}

void PlugEd::layoutEditor() {
  EditorState& state = effect().editorState();
  state.beginLayout();
  state.setWindowOpen(true);
  const SurfaceSize size(state.uimode, showsHelp());
  resizeSurface(size.width, size.height, static_cast<float>(state.zoom));
  placeParts();
  showAllValues();
}

void PlugEd::placeParts() {
  const SurfaceSize size(effect().editorState().uimode, showsHelp());
  PresentPlaces present{};
  if (const CControl* const buttons = index().find(kGUIBox2)) {
    present.titleButtonsWidth = buttons->getViewSize().width();
  }
  if (const CControl* const tray = index().find(kGUIPresetBox)) {
    present.presetBoxTop = tray->getViewSize().top;
  }
  for (const SurfacePart& part : surfaceParts()) {
    int count = 0;
    index().forEach(part.tag, [&](CControl& control) {
      if (part.which != SurfacePart::kEvery && part.which != count++) return;
      if (part.framesOnly && !isPanel(control)) return;
      present.own = control.getViewSize();
      const CRect place = part.place(size, present);
      control.setViewSize(place);
      if (part.withMouse) control.setMouseableArea(place);
    });
  }
  // Those without a tag.
  for (int i = 0; i < index().getControlCount(); ++i) {
    CControl* const control = index().getControl(i);
    const auto* const plain = dynamic_cast<PlainElement*>(control);
    if (plain != nullptr && plain->getClassName() == "EQGraph") {
      placeWithMouse(*control, graphPlace(size));
    }
    if (dynamic_cast<nToolTips*>(control) != nullptr) {
      placeWithMouse(*control, helpLinePlace(size));
    }
  }
}

void PlugEd::showAllValues() {
  for (std::int32_t tag = 0; tag < kNumParams; ++tag) showValue(tag, effect().getParameter(tag));
  const EditorState& state = effect().editorState();
  showValue(kGUIMode, static_cast<float>(state.uimode));
  showValue(kGUIABMenu, static_cast<float>(effect().getCurrentBank()));
  showValue(kGUISelectedBand, static_cast<float>(state.currentBand));
  showValue(kGUIBandGraph, static_cast<float>(state.bandGraph));
  showValue(kGUIShowSidechain, state.uimode == 1 ? 1.0F : 0.0F);
  showValue(kGUIShowAdvanced, state.uimode == 2 ? 1.0F : 0.0F);
  showValue(kGUISetup, setupOpen ? 1.0F : 0.0F);
  const bool carries = (effect().getLoadingFlags() & LoadingFlags::kCarriesEditor) != 0;
  showValue(kGUIPresetUI, carries ? 1.0F : 0.0F);
  showTray();
}

void PlugEd::openSetup(int page) {
  const std::lock_guard guard(getFrame()->treeLock());
  setupOpen = true;
  showValue(kGUISetup, 1.0F);
  showValue(kGUISetupPage, static_cast<float>(page));
}

void PlugEd::openBandMenu(int band, CPoint where) {
  if (dialogs() == nullptr) return;
  PlugEdits& edits = effect().edits();
  const BandMenuParts parts{
      edits,     edits.bands, edits.bandFiles, effect().editorState(), effect().machine().globals(),
      *dialogs()};
  const std::lock_guard guard(getFrame()->treeLock());
  popupMenu(*getFrame(), where, bandMenu(parts, band));
}

bool PlugEd::takeFile(const std::string& path, CPoint where) {
  if (!isOfKind(path, kBandExtension)) return FlagEd::takeFile(path, where);
  const EditorState& state = effect().editorState();
  int band = bandTabAt(SurfaceSize(state.uimode, showsHelp()), where);
  if (band < 0) band = state.currentBand;
  effect().edits().bandFiles.loadBandFile(path, band);
  return true;
}

void PlugEd::toggleMode(int mode) {
  EditorState& state = effect().editorState();
  state.wantedUimode = state.uimode == mode ? 0 : mode;
  layoutEditor();
}

void PlugEd::valueChanged(CControl& control) {
  switch (control.getTag()) {
    case kGUIShowSidechain:
      toggleMode(1);
      return;
    case kGUIShowAdvanced:
      toggleMode(2);
      return;
    case kGUIOpenBandMenu:
      openBandMenu(static_cast<int>(control.getValue()),
                   control.localToFrame(control.getViewSize().topLeft()));
      return;
    default:
      FlagEd::valueChanged(control);
  }
}

void PlugEd::idle() {
  if (isOpen() && effect().editorState().layoutWanted) {
    const std::lock_guard guard(getFrame()->treeLock());
    layoutEditor();
  }
  FlagEd::idle();
}

void PlugEd::viewsClose() {
  effect().editorState().setWindowOpen(false);
  FlagEd::viewsClose();
}
