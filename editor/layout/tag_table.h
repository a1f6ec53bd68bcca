#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// Declares an enumeration together with its own text, so that each name is written once.
#define CORVANTHELIS_TAGS(Type, text, ...)  \
  enum Type : std::int32_t { __VA_ARGS__ }; \
  inline constexpr std::string_view text = #__VA_ARGS__

/// Tags of controls that are no parameters; those of parameters are the parameters' numbers. From
/// `kGUISelectedBand` on each is that of the first band, with the other bands' tags after it.
CORVANTHELIS_TAGS(
    GuiTag, kGuiTagEnumeration, kGUIEQGraph = 500, kGUIPresetMenu, kGUIProcessMode, kGUIStereoMode,
    kGUIAnalyser, kGUIConsole, kGUIVU, kGUISetup, kGUIPageChange, kGUIPresetPage, kGUISave,
    kGUILoad, kGUIUndo, kGUIRedo, kGUIPresetPrev, kGUIPresetNext, kGUIPresetName, kGUIABMenu,
    kGUIABMenuAlt, kGUICopyTo, kGUIMeterPrePost, kGUIFlat, kGUIPrefsChange, kGUIClip,
    kGUIMeterReadout, kGUIUnused, kGUIBox1, kGUIBox2, kGUIBox3, kGUIBox4, kGUIPresetBox, kGUIAbout,
    kGUISetupPage, kGUIStripsChanged, kGUIPhaseGraph, kGUIIRGraph, kGUIChannelCount, kGUISurround,
    kGUIMeterSection, kGUIUIPrefsChange, kGUISelectOnly, kGUIMasterMeter1, kGUIMasterMeter2,
    kGUIGroupNamesChanged, kGUIUseMS1, kGUIBox5, kGUIStereoMode2, kGUIInstancesChanged,
    kGUIInstanceName, kGUIKeyboard, kGUIScaleTray, kGUIOpenScaleTray, kGUIAnalyserUpdated,
    kGUIMeterFade, kGUILoadPreset, kGUISavePreset, kGUIPresetEQ, kGUIPresetDSP, kGUIPresetUI,
    kGUIPresetBank, kGUIPleaseRebuildStrips, kGUIWizardOpen, kGUIWizardCompleted,
    kGUIReloadFreqDefault, kGUISelectToggle, kGUIFreeDrag, kGUIInsertBandAfter, kGUIAutoListen,
    kGUISelectedGroup, kGUIDeSelectedGroup, kGUIPropagateDSP, kGUIFullScreen, kGUIAutoGain,
    kGUIPropagateRenderDSP, kGUIDeleteBand, kGUITimePlotScaleChanged, kGUIResize, kGUIGraph,
    kGUIGraph2, kGUIGraph3, kGUIGraphRangeChanged, kGUIDisableTooltips, kGUILoudnessMetering,
    kGUIHistory, kGUIBox6, kGUIBox7, kGUIBox8, kGUIMode, kGUILockGains, kGUIMeterZoom,
    kGUIShowSlope2, kGUISaveBank, kGUILoadBank, kGUIMIDILearn, kGUIShowSidechain, kGUIShowAdvanced,
    kGUIParameterMenu, kGUIParameterPropagate, kGUIParameterLock, kGUIParameterLink, kGUIBandGraph,
    kGUIOpenBandMenu, kGUIShiftSelect, kGUISelectedBand = 700, kGUIBandGR = 720, kGUIBandPPM = 730,
    kGUIBandSCListen = 740, kGUIBandShowSlope = 750, kGUIBandShowQ = 760, kGUIBandShowSlope2 = 770);

/// Names of tags and their numbers, in two lists of one length.
/// Immutable once built: any thread.
class TagTable {
 public:
  /// Splits "name = number, name, ...": a number sets the running counter, which counts on from
  /// name to name. White space and what follows it in a name do not belong to the name.
  explicit TagTable(std::string_view enumeration);

  /// The number of the first of this name, in exactly these letters; -1 if there is none.
  [[nodiscard]] std::int32_t find(std::string_view name) const noexcept;
  /// The first name of a number; empty if there is none, and for the tags of all bands but the
  /// first.
  [[nodiscard]] std::string_view nameOf(std::int32_t value) const noexcept;

  [[nodiscard]] std::size_t size() const noexcept { return names.size(); }

 private:
  std::vector<std::string> names;
  std::vector<std::int32_t> values;
};

/// All parameters and all of `GuiTag`; split once per process.
[[nodiscard]] const TagTable& tagTable();
