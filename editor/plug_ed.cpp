#include "editor/plug_ed.h"

#include <algorithm>
#include <iterator>
#include <mutex>
#include <string_view>
#include <utility>

#include "core/parameter_table.h"
#include "core/plug.h"
#include "editing/band_menu.h"
#include "editing/parameter_menu.h"
#include "editor/controls/action_menu.h"
#include "editor/controls/band_tabs.h"
#include "editor/controls/option_menus.h"
#include "editor/controls/rounded_frame.h"
#include "editor/controls/tool_tips.h"
#include "editor/layout/tag_table.h"
#include "editor/surface_layout.h"
#include "editor/tool_tip_texts.h"
#include "graphs/eq_graph.h"
#include "graphs/graph_preferences.h"
#include "platform/paths.h"
#include "state/install_folders.h"
#include "state/machine.h"

namespace {

constexpr double kLeastZoom = 0.5;
constexpr double kMostZoom = 4.0;

bool isParameterTag(std::int32_t tag) { return tag >= 0 && tag < kNumParams; }

/// The index of a tag above a base, -1 for none of the eight bands.
int bandAbove(std::int32_t base, std::int32_t tag) { return isBand(tag - base) ? tag - base : -1; }

/// The parameter whose text, or whose control, also depends on this one; -1 for none.
std::int32_t shownWith(std::int32_t id) {
  constexpr std::pair<int, int> kTogether[] = {{kB1LR, kB1Position},   {kB1SCLR, kB1SCPos},
                                               {kB1Ratio, kB1Ceiling}, {kB1RatioB, kB1Floor},
                                               {kB1Type, kB1Slope},    {kB1SCSBand, kB1SCSrc}};
  if (!isBandParameter(id)) return -1;
  const auto* const found =
      std::ranges::find(kTogether, bandOneIdOf(id), [](const auto& both) { return both.first; });
  return found != std::end(kTogether) ? bandParameterId(bandOf(id), found->second) : -1;
}

bool isBandFile(const std::string& path) {
  const std::string_view own = extensionOf(path);
  return !own.empty() && own.substr(1) == kBandExtension;
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

PlugEd::PlugEd(Plug& shown)
    : FlagEd(shown),
      group(shown.edits(), shown.editorState()),
      banks(shown.edits(), shown.editorState()),
      selection(shown.editorState()),
      marker(index(), shown.edits(), shown.machine().midiMap()) {}

EditorState& PlugEd::state() noexcept { return effect().editorState(); }

bool PlugEd::showsHelp() const {
  return effect().machine().globals().getGlobal("Mouseover Help", 1) != 0;
}

bool PlugEd::helpFollowsMouse() const {
  return effect().machine().globals().getGlobal("Tooltips Follow", 0) == 0;
}

// Places and values.

void PlugEd::layoutEditor() {
  {
    const Plug::StateScope scope(effect());
    state().beginLayout();
    state().setWindowOpen(true);
  }
  const SurfaceSize size(state().uimode, showsHelp());
  resizeSurface(size.width, size.height, static_cast<float>(state().zoom));
  selection.allowSeveral();
  placeParts();
  placeWithoutTag();
  takeDefaults();
  if (meters) {
    meters->applySettings();
  } else {
    meters.emplace(index(), *this, effect());
  }
  setUpGraphs();
  panel.emplace(index());
  panel->setMode(state().uimode);
  if (bandTabs* const tabs = findBandTabs(index())) tabs->setGraphWidth(size.graphWidth);
  showAllValues();
}

void PlugEd::placeParts() {
  const SurfaceSize size(state().uimode, showsHelp());
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
}

void PlugEd::placeWithoutTag() {
  const SurfaceSize size(state().uimode, showsHelp());
  for (int i = 0; i < index().getControlCount(); ++i) {
    CControl* const control = index().getControl(i);
    if (dynamic_cast<EQGraph*>(control) != nullptr) placeWithMouse(*control, graphPlace(size));
    if (dynamic_cast<nToolTips*>(control) != nullptr) {
      placeWithMouse(*control, helpLinePlace(size));
    }
  }
}

EQGraph* PlugEd::graph() const {
  for (int i = 0; i < index().getControlCount(); ++i) {
    if (auto* const found = dynamic_cast<EQGraph*>(index().getControl(i))) return found;
  }
  return nullptr;
}

/// Every graph takes the preferences, and of its flags the one that all have in common.
void PlugEd::setUpGraphs() {
  const GraphPreferences preferences = GraphPreferences::read(effect().uiSettings());
  const std::uint32_t helps = showsHelp() ? EQGraphBase::kShowsHelp : 0U;
  for (int i = 0; i < index().getControlCount(); ++i) {
    auto* const found = dynamic_cast<EQGraphBase*>(index().getControl(i));
    if (found == nullptr) continue;
    found->setDrawFlags((found->getDrawFlags() & ~EQGraphBase::kShowsHelp) | helps);
    found->setPreferences(preferences);
  }
  if (EQGraph* const main = graph()) {
    main->setAnalyser(true);
    main->loadExtras();
  }
}

void PlugEd::showAllValues() {
  for (std::int32_t tag = 0; tag < kNumParams; ++tag) showValue(tag, effect().getParameter(tag));
  showValue(kGUIMode, static_cast<float>(state().uimode));
  showValue(kGUIABMenu, static_cast<float>(effect().getCurrentBank()));
  showValue(kGUISelectedBand, static_cast<float>(state().currentBand));
  showValue(kGUIBandGraph, static_cast<float>(state().bandGraph));
  showValue(kGUIShowSidechain, state().uimode == 1 ? 1.0F : 0.0F);
  showValue(kGUIShowAdvanced, state().uimode == 2 ? 1.0F : 0.0F);
  showOwnState();
  showBandKinds();
  showListening();
  marker.showAll();
  showBands();
  showButtons();
}

void PlugEd::showBandKinds() {
  for (int band = 0; band < kNumBands; ++band) {
    const BandKindPages pages = BandKindPages::of(effect().getBandFlags(band));
    showValue(kGUIBandShowSlope + band, pages.slope);
    showValue(kGUIBandShowQ + band, pages.q);
    showValue(kGUIBandShowSlope2 + band, pages.slope2);
    // Which bands there are to choose from.
    const std::int32_t source = bandParameterId(band, kB1SCSrc);
    showValue(source, effect().getParameter(source));
  }
  if (panel) panel->showStates(*this);
}

void PlugEd::showListening() {
  const int listened = static_cast<int>(effect().getPlainValue(kSCListen));
  for (int band = 0; band < kNumBands; ++band) {
    showValue(kGUIBandSCListen + band, band == listened ? 1.0F : 0.0F);
  }
}

void PlugEd::showBands() {
  showValue(kGUISelectedBand, static_cast<float>(state().currentBand));
  if (bandTabs* const tabs = findBandTabs(index())) tabs->setSelectedMask(selection.selected());
  if (EQGraph* const main = graph()) {
    main->setSelectedMask(selection.selected());
    main->setSelectedBand(state().currentBand);
  }
}

/// Double clicks and the Delete key go to them.
void PlugEd::takeDefaults() {
  for (int i = 0; i < index().getControlCount(); ++i) {
    CControl* const control = index().getControl(i);
    const std::int32_t tag = control->getTag();
    if (isParameterTag(tag)) control->setDefaultValue(effect().getParameterDefault(tag));
  }
}

void PlugEd::parameterShown(std::int32_t tag) {
  if (tag == kSCListen) showListening();
  if (tag == kBypass) releaseCoveredFocus();
  if (tag == kABBank) showValue(kGUIABMenu, static_cast<float>(effect().getCurrentBank()));
  if (isBandParameter(tag) && bandOneIdOf(tag) <= kB1Solo) bandsChanged = true;
  if (tag == kExtendedRanges || tag == kExtendedRatios) limitsChanged = true;
  if (const std::int32_t other = shownWith(tag); other >= 0) {
    showValue(other, effect().getParameter(other));
  }
}

void PlugEd::parametersShown() {
  if (std::exchange(bandsChanged, false)) {
    showBandKinds();
    showBands();
  }
  if (!std::exchange(limitsChanged, false)) return;
  for (int band = 0; band < kNumBands; ++band) {
    for (const int row : {kB1Ratio, kB1RatioB, kB1Ceiling, kB1Floor}) {
      const std::int32_t id = bandParameterId(band, row);
      showValue(id, effect().getParameter(id));
    }
  }
}

void PlugEd::refreshWhatIsStale() {
  EditorState& marks = state();
  if (marks.layoutWanted || marks.preferencesStale.exchange(false)) layoutEditor();
  if (marks.flagsStale.exchange(false)) marker.showLocksAndLinks();
  if (marks.bankStale.exchange(false)) {
    showValue(kGUIABMenu, static_cast<float>(effect().getCurrentBank()));
  }
  const bool orderChanged = marks.orderStale.exchange(false);
  if (marks.kindsStale.exchange(false) || orderChanged) {
    showBandKinds();
    showBands();
  }
  if (marks.defaultsStale.exchange(false)) takeDefaults();
  marks.gesturesStale = false;  // it is the host's side that they concern
  marker.followControllers();
}

void PlugEd::idle() {
  if (isOpen()) {
    const std::lock_guard guard(getFrame()->treeLock());
    refreshWhatIsStale();
    if (meters) meters->show();
  }
  FlagEd::idle();
}

void PlugEd::viewsClose() {
  panel.reset();
  meters.reset();
  pairedRelease = -1;
  group.endAll();
  effect().edits().endAll();
  {
    const Plug::StateScope scope(effect());
    state().setWindowOpen(false);
  }
  FlagEd::viewsClose();
}

// What the user does.

void PlugEd::beginEdit(std::int32_t tag) {
  if (!isParameterTag(tag)) return;
  group.begin(tag);
  const std::int32_t other = otherRelease(tag);
  if (other >= 0 && isAltHeld()) {  // both are one step back
    effect().edits().beginHistoryGroup();
    beginPaired(other);
    effect().edits().endGroupWithEdit(tag);
  }
  FlagEd::beginEdit(tag);
  if (!helpFollowsMouse()) showToolTip(tag);
}

void PlugEd::endEdit(std::int32_t tag) {
  if (!isParameterTag(tag)) return;
  FlagEd::endEdit(tag);
  group.end(tag);
  if (pairedRelease >= 0 && pairedRelease == otherRelease(tag)) {
    effect().endEdit(std::exchange(pairedRelease, -1));
  }
}

void PlugEd::valueChanged(CControl& control) {
  if (isParameterTag(control.getTag())) {
    parameterChanged(control);
  } else if (!tagChanged(control)) {
    FlagEd::valueChanged(control);
  }
  if (isOpen() && state().wantedUimode != state().uimode) layoutEditor();
}

void PlugEd::parameterChanged(const CControl& control) {
  const std::int32_t tag = control.getTag();
  const float value = control.getValue();
  if (dynamic_cast<const SCSelectMenu*>(&control) != nullptr) {
    const SCSelectMenu::Choice choice = SCSelectMenu::choiceOf(value);
    setSidechainSource(effect().edits(), bandOf(tag), static_cast<int>(choice.source),
                       static_cast<int>(choice.band));
    return;
  }
  group.spread(tag, value);
  effect().setParameterAutomated(tag, value);
  moveBothReleases(tag, value);
  // What is locked goes back to where it was.
  if (effect().isLocked(tag)) showValue(tag, effect().getParameter(tag));
}

bool PlugEd::isAltHeld() const {
  return isOpen() && getFrame()->getCurrentMouseButtons().has(kAlt);
}

void PlugEd::beginPaired(std::int32_t release) {
  if (pairedRelease >= 0) effect().endEdit(pairedRelease);
  pairedRelease = release;
  effect().beginEdit(release);
}

/// With Alt held. The gesture of the other one lasts as long as that of the one moved.
void PlugEd::moveBothReleases(std::int32_t tag, float value) {
  const std::int32_t other = otherRelease(tag);
  if (other < 0 || !isAltHeld()) return;
  if (pairedRelease != other) beginPaired(other);
  effect().setParameterAutomated(other, value);
}

bool PlugEd::tagChanged(const CControl& control) {
  const std::int32_t tag = control.getTag();
  const float value = control.getValue();
  switch (tag) {
    case kGUIABMenu:
      chooseBank(static_cast<int>(value));
      return true;
    case kGUIABMenuAlt:
      banks.toggle(static_cast<AbToggleMode>(effect().machine().globals().getGlobal("A/B Toggle")));
      showAllValues();
      return true;
    case kGUICopyTo:
      banks.copyTo(static_cast<int>(value));
      return true;
    case kGUIShowSidechain:
      toggleMode(1);
      return true;
    case kGUIShowAdvanced:
      toggleMode(2);
      return true;
    case kGUIResize:
      resize(value);
      return true;
    case kGUIDisableTooltips:
      hideHelp();
      return true;
    case kGUIPrefsChange:
      effect().applyGlobalPreferences();
      layoutEditor();
      return true;
    case kGUIGraphRangeChanged:
      effect().uiSettings().setUiValue("Graph", "Range", static_cast<double>(value));
      effect().markChanged();
      applyUiSettings();
      return true;
    case kGUIUIPrefsChange:
      effect().markChanged();
      applyUiSettings();
      return true;
    case kGUIBandGraph:
      state().bandGraph = static_cast<int>(value);
      showValue(tag, value);
      return true;
    case kGUIOpenBandMenu:
      openBandMenu(static_cast<int>(value), control.localToFrame(control.getViewSize().topLeft()));
      return true;
    default:
      return meterTagChanged(tag, value) ||
             bandTagChanged(tag, value, dynamic_cast<const GraphUpdate*>(&control) != nullptr);
  }
}

bool PlugEd::meterTagChanged(std::int32_t tag, float value) {
  if (tag == kGUIMeterZoom) {
    state().zoomState = static_cast<int>(value);
  } else if (tag == kGUIMeterPrePost) {  // the value says which meter it was
    const auto* const meter =
        dynamic_cast<miniPPMmeter*>(index().find(static_cast<std::int32_t>(value)));
    if (meter == nullptr) return true;
    const BandMeterChoice& chosen = meter->getChoice();
    state().meterChannel = chosen.channel;
    state().meterShow = chosen.show;
    state().meterZoom = chosen.isZoomed ? 1 : 0;
  } else {
    return false;
  }
  if (meters) meters->applySettings();
  return true;
}

/// `keepsMasks`: who tells of it has set what is selected.
bool PlugEd::bandTagChanged(std::int32_t tag, float value, bool keepsMasks) {
  if (const int band = bandAbove(kGUIBandSCListen, tag); band >= 0) {
    listen(value != 0.0F ? band : -1);
    return true;
  }
  const int band = static_cast<int>(value);
  switch (tag) {
    case kGUISelectedBand:
      selectBand(band, keepsMasks);
      return true;
    case kGUISelectOnly:
      selection.selectOnly(band, state().currentBand);
      break;
    case kGUISelectToggle:
      if (selection.toggle(band)) listen(-1);
      break;
    case kGUIShiftSelect:
      if (selection.shiftSelect(band)) listen(-1);
      break;
    default:
      return false;
  }
  showBands();
  return true;
}

void PlugEd::listen(int band) {
  const float wanted = effect().plainToNormalised(kSCListen, static_cast<float>(band));
  if (wanted == effect().getParameter(kSCListen)) return;
  state().lastListen = static_cast<int>(effect().getPlainValue(kSCListen));
  effect().beginEdit(kSCListen);
  effect().setParameterAutomated(kSCListen, wanted);
  effect().endEdit(kSCListen);
  showListening();
}

void PlugEd::selectBand(int band, bool keepsMasks) {
  listen(-1);
  selection.select(band, keepsMasks);
  showBands();
}

void PlugEd::chooseBank(int bank) {
  banks.choose(bank);
  showAllValues();
}

void PlugEd::resize(float width) {
  const auto base = static_cast<double>(EditorState::widthOf(state().uimode));
  const double zoom = std::clamp(static_cast<double>(width) / base, kLeastZoom, kMostZoom);
  state().freeWidth = static_cast<int>(zoom * base);
  layoutEditor();
}

void PlugEd::hideHelp() {
  effect().machine().globals().setGlobal("Mouseover Help", 0);
  layoutEditor();
}

void PlugEd::applyUiSettings() {
  effect().setMeterDecay(effect().uiSettings().getUiValue("Graph", "GR Decay"));
  if (meters) meters->applySettings();
  setUpGraphs();
}

void PlugEd::toggleMode(int mode) { state().wantedUimode = state().uimode == mode ? 0 : mode; }

// Menus.

bool PlugEd::controlModifierClicked(CControl& control, CButtonState buttons) {
  std::int32_t id = control.getTag();
  const Globals& globals = effect().machine().globals();
  const bool learnsBanks =
      globals.getGlobal("A/B Toggle") == static_cast<int>(AbToggleMode::kMidiLearn);
  if (id == kGUIABMenu && learnsBanks) id = kABBank;
  if (bandAbove(kGUIBandSCListen, id) >= 0) id = kSCListen;
  if (!isParameterTag(id)) return false;
  if (buttons.isLeft() && buttons.has(kShift | kAlt)) return toggleLock(id);
  const bool isSwapped = globals.getGlobal("Swap Alt/Right") == 1;
  const bool wantsMenu = isSwapped ? buttons.isLeft() && buttons.has(kAlt) : buttons.isRight();
  if (!wantsMenu) return false;
  openParameterMenu(control, id);
  return true;
}

bool PlugEd::toggleLock(std::int32_t id) {
  const int row = isBandParameter(id) ? bandOneIdOf(id) : -1;
  if (row == kB1State || row == kB1Bypass || row == kB1Solo) return false;
  effect().setLocked(id, !effect().isLocked(id));
  marker.showLocksAndLinks();
  return true;
}

/// Where the mouse is, or under the control if a key has asked for it elsewhere.
void PlugEd::openParameterMenu(const CControl& control, std::int32_t id) {
  const ParameterMenuParts parts{effect().edits(), state(), effect().machine().midiMap()};
  const CRect own = control.getViewSize();
  CPoint where = getFrame()->getCurrentMouseLocation();
  if (!own.contains(control.frameToLocal(where))) {
    where = control.localToFrame(CPoint{own.left, own.bottom});
  }
  openActionMenu(*getFrame(), where, parameterMenu(parts, id));
}

void PlugEd::openBandMenu(int band, CPoint where) {
  if (dialogs() == nullptr) return;
  PlugEdits& edits = effect().edits();
  const BandMenuParts parts{
      edits, edits.bands, edits.bandFiles, state(), effect().machine().globals(), *dialogs()};
  const std::lock_guard guard(getFrame()->treeLock());
  openActionMenu(*getFrame(), where, bandMenu(parts, band));
}

void PlugEd::setControlHighlight(std::int32_t tag, bool on, std::int32_t colour) {
  if (!isOpen()) {
    marker.setLinkHighlight(tag, on, colour);
    return;
  }
  const std::lock_guard guard(getFrame()->treeLock());
  marker.setLinkHighlight(tag, on, colour);
}

bool PlugEd::takeFile(const std::string& path, CPoint where) {
  if (!isBandFile(path)) return FlagEd::takeFile(path, where);
  int band = bandTabAt(SurfaceSize(state().uimode, showsHelp()), where);
  if (band < 0) band = state().currentBand;
  effect().edits().bandFiles.loadBandFile(path, band);
  return true;
}

// The line of help.

void PlugEd::mouseOver(CView* view) {
  if (!helpFollowsMouse()) return;
  std::int32_t tag = -1;
  for (CView* at = view; at != nullptr && tag < 0; at = at->getParentView()) {
    if (const auto* const control = dynamic_cast<CControl*>(at)) tag = control->getTag();
    if (const auto* const page = dynamic_cast<iControl*>(at)) tag = page->getControlTag();
    if (const auto* const tabs = dynamic_cast<bandTabs*>(at)) {
      tag = tabs->tagAt(tabs->frameToLocal(getFrame()->getCurrentMouseLocation()));
    }
    if (auto* const shown = dynamic_cast<EQGraphBase*>(at)) {
      tag = shown->tagAt(shown->frameToLocal(getFrame()->getCurrentMouseLocation()));
    }
    if (toolTipText(tag).empty()) tag = -1;
  }
  showToolTip(tag);
}

void PlugEd::showToolTip(std::int32_t tag) {
  if (!showsHelp()) return;
  for (int i = 0; i < index().getControlCount(); ++i) {
    if (auto* const bar = dynamic_cast<nToolTips*>(index().getControl(i))) {
      bar->setText(toolTipText(tag));
    }
  }
}
