#include "editor/tool_tip_texts.h"

#include <algorithm>
#include <span>

#include "editing/parameter_ids.h"
#include "editor/layout/tag_table.h"

namespace {

struct Help {
  std::int32_t tag;
  std::string_view text;
};

/// Of each band, by the parameters of the first.
constexpr Help kOfBands[] = {
    {kB1State, "Activate/delete this band."},
    {kB1Bypass, "Bypass this band."},
    {kB1Type, "Chooses whether the band forms part of the Crossover or is a Dynamic EQ band."},
    {kB1SubType, "Sets the shape of a Dynamic EQ band."},
    {kB1Solo, "Solos the band."},
    {kB1Threshold, "Sets the threshold above which the band will begin compression/expansion."},
    {kB1Ratio, "Sets the ratio of compression/expansion above the threshold."},
    {kB1Ceiling,
     "Sets the amount of gain reduction/increase permitted for signals above the threshold."},
    {kB1LR, "Chooses whether this band should be processed in LR or MS."},
    {kB1Position,
     "Chooses whether the dynamic behaviour should apply to L/R/M/S or somewhere between."},
    {kB1Knee, "Applies a smoothing to the dynamic response behaviour."},
    {kB1Frequency, "Sets the frequency around which the audio will be processed."},
    {kB1Gain, "Sets the make-up gain for the process."},
    {kB1DryGain, "Mixes in unprocessed audio with the processed signal."},
    {kB1Slope, "Sets the slope of the crossover above the band."},
    {kB1Slope2, "Sets the slope of the crossover below the band."},
    {kB1Q, "For Dynamic EQ bands, set the Q/bandwidth of the audio region to be processed."},
    {kB1Target,
     "Chooses whether dynamic behaviour is applied to dynamic material, just transients, or both."},
    {kB1Attack, "Sets the attack time for dynamic processing."},
    {kB1RelSlow, "Sets the release time for regular dynamic processing."},
    {kB1RelFast, "Sets the release time for dynamic segments that exceed the crest factor."},
    {kB1Lookahead,
     "Sets the lookahead time for the processor, and determines how transients are processed."},
    {kB1Crest, "Sets the crest factor used to determine whether to use fast or slow release."},
    {kB1Shape, "Chooses the shape of the attack/release curves."},
    {kB1RatioB, "Sets the ratio of compression/expansion below the threshold setting."},
    {kB1Floor,
     "Sets the maximum gain reduction/increase permitted for signals below the threshold."},
    {kB1Deadband, "Sets a margin around the threshold where audio will not be processed."},
    {kB1RMS, "Sets the timing for the RMS detector, used to switch between fast and slow release."},
    {kB1SCSrc,
     "Chooses the source used to trigger the processor between wideband input, the filtered input, "
     "and external."},
    {kB1SCLR,
     "Chooses whether the processing should react to the LR signal or an MS encoded version."},
    {kB1SCPos, "Chooses whether the processing reacts to L/R/M/S or somewhere between."},
    {kB1SCLink, "Chooses whether the channels are processed together or independently."},
    {kB1SCTrim, "Sets a gain on the sidechain signal that acts to offset the threshold."},
    {kB1SCLF, "Enables/disables the low-frequency sidechain filter."},
    {kB1SCLFF, "Sets the frequency for the low-frequency sidechain filter."},
    {kB1SCLFG, "Sets the gain for the low-frequency sidechain filter."},
    {kB1SCLFQ, "Sets Q for the low-frequency sidechain filter."},
    {kB1SCLFSlope, "Sets the slope for the low-frequency sidechain filter."},
    {kB1SCLFType, "Chooses whether the low-frequency sidechain filter is a shelf or HPF."},
    {kB1SCMF, "Enables/disables the mid-frequency sidechain filter."},
    {kB1SCMFF, "Sets the frequency for the mid-frequency sidechain filter."},
    {kB1SCMFG, "Sets the gain for the mid-frequency sidechain filter."},
    {kB1SCMFQ, "Sets Q for the mid-frequency sidechain filter."},
    {kB1SCMFType, "Chooses whether the mid-frequency sidechain filter is a peak or BPF."},
    {kB1SCHF, "Enables/disables the high-frequency sidechain filter."},
    {kB1SCHFF, "Set frequency for the high-frequency sidechain filter."},
    {kB1SCHFG, "Sets the gain for the high-frequency sidechain filter."},
    {kB1SCHFQ, "Sets Q for the high-frequency sidechain filter."},
    {kB1SCHFSlope, "Set the slope for the high-frequency sidechain filter."},
    {kB1SCHFType, "Chooses whether the high-frequency sidechain filter is a shelf or LPF."},
};

constexpr Help kOfTags[] = {
    {kIpTrim, "Input trim is gain applied before any other processing."},
    {kOpTrim, "Output trim is gain applied after any other processing."},
    {kWetDry, "Wet/Dry allows you to blend between input and processed signal. Click to toggle."},
    {kAutoGain,
     "Enabling autogain will automatically adjust the Output level to match the loudness of the "
     "input."},
    {kListen,
     "Diff allows you to audition the difference between input and output signals to hear just "
     "what's changed."},
    {kBypass, "Click to soft-bypass the plugin."},
    {kOversample, "Oversampling setting to use for online processing."},
    {kOversampleOL, "Oversampling setting to use for offline/render processing."},
    {kLogBehaviour,
     "Provides compatibility for presets saved with version 1.00. Will be set automatically on "
     "loading a preset."},
    {kExtendedRanges, "Sets the maximum range for the CEILING and FLOOR parameters"},
    {kExtendedRatios, "Allows extreme ratio settings if set to Extended"},
    {kGUIPresetMenu,
     "Click to open a menu of presets. Double-click to edit the current preset name."},
    {kGUIPresetName,
     "Click to open a menu of presets. Double-click to edit the current preset name."},
    {kGUISetup, "Click to open the Setup window for preferences and About info."},
    {kGUIPresetPage, "Click to open or close the preset tray."},
    {kGUISave, "Click to save this preset as a file."},
    {kGUILoad, "Click to load a preset from disk."},
    {kGUIUndo, "Click here to undo your last change. A history of changes is recorded."},
    {kGUIRedo, "Click here to redo your last undo."},
    {kGUIPresetPrev, "Click to switch to the previous preset in this folder."},
    {kGUIPresetNext, "Click to switch to the next preset in this folder."},
    {kGUIABMenu, "Click to toggle A/B bank. Right-clicking toggles recent banks."},
    {kGUICopyTo, "Click to copy these settings to another A/B bank."},
    {kGUIResize, "Drag to resize the window."},
    {kGUIDisableTooltips,
     "Click here to hide this tooltip bar. To re-enable it click Setup->Global Prefs->Mouseover "
     "Help On."},
    {kGUIShowSidechain, "Click here to see the sidechain controls for this band."},
    {kGUIShowAdvanced, "Click here to view the advanced controls for this band."},
    {kGUIBandGraph,
     "Click here to switch between the sidechain EQ and the dynamic response graph."},
    {kGUIAbout, "Click here to open the About page."},
};

constexpr std::string_view kOfListening = "Click here to audition the sidechain signal.";

std::string_view textFrom(std::span<const Help> texts, std::int32_t tag) {
  const auto found = std::ranges::find(texts, tag, &Help::tag);
  return found == texts.end() ? std::string_view{} : found->text;
}

}  // namespace

std::string_view toolTipText(std::int32_t tag) {
  if (isBandParameter(tag)) return textFrom(kOfBands, bandOneIdOf(tag));
  if (tag >= kGUIBandSCListen && tag < kGUIBandSCListen + kNumBands) return kOfListening;
  return textFrom(kOfTags, tag);
}
