#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "host/shared_value.h"

/// The part of the editor's state that documents carry.
struct StoredEditorState {
  static constexpr int kPlainWidth = 844;  ///< pixels at zoom 1, without a side panel
  static constexpr int kPanelWidth = 989;  ///< pixels at zoom 1, in the other modes
  static constexpr double kLowestShown = 10.0;
  static constexpr double kHighestShown = 22050.0;

  SharedNumber<int> uimode = 0;  ///< mode in force: 0 plain, 1 sidechain panel, 2 advanced panel
  SharedNumber<int> lastAB = 0;  ///< bank before the present one
  SharedNumber<int> lastListen = 0;  ///< band listened to before the last change, -1 for none
  SharedNumber<int> linkPage = 0;    ///< kept for documents that have it: links have no pages here
  SharedNumber<int> zoomState = 0;
  SharedNumber<int> freeWidth = kPlainWidth;  ///< window width, pixels
  SharedNumber<int> currentBand = 0;          ///< 0..7
  SharedNumber<int> bandGraph = 0;
  SharedNumber<int> meterChannel = 0;
  SharedNumber<int> meterShow = 0;
  SharedNumber<int> meterZoom = 0;
  SharedNumber<float> meterRange = 24.0F;
  SharedNumber<double> graphLowest = kLowestShown;    ///< Hz at the left edge of the main graph
  SharedNumber<double> graphHighest = kHighestShown;  ///< and at its right edge
  SharedNumber<int> lastPreset = 0;                   ///< index of the current preset in its menu
  std::string lastPresetFolder;                       ///< `path` of that menu; empty if none
  bool operator==(const StoredEditorState&) const = default;
};

/// The whole state of the editor, whether or not a window is open, and the marks by which state
/// operations ask the editor to refresh itself.
///
/// Threads: the message thread, and any that saves or loads the state. Each number may be read and
/// written by itself; texts, and changes of several numbers at once, need a `PlugBase::StateScope`.
/// The editor reads it in its idle call.
struct EditorState : StoredEditorState {
  SharedNumber<int> wantedUimode = 0;  ///< mode that the next layout puts in force
  SharedNumber<double> zoom = 1.0;     ///< `freeWidth` divided by the width of the mode

  SharedNumber<std::uint32_t> selectedBands = 1;  ///< bit per band
  SharedNumber<std::uint32_t> shownBands = 1;     ///< bit per band
  SharedNumber<std::uint32_t> visitedBanks = 0;   ///< bit per bank; written on the message thread
  SharedNumber<int> selectMode = 0;  ///< not 0: several bands can be selected and edited together
  SharedNumber<bool> loadingFile = false;  ///< a file is being loaded: the window keeps its size

  // Marks, raised on any thread and cleared by the editor.
  std::atomic<bool> layoutWanted{false};       ///< the view tree must be laid out again
  std::atomic<bool> defaultsStale{false};      ///< the parameters' defaults have changed
  std::atomic<bool> flagsStale{false};         ///< locks or links have changed
  std::atomic<bool> presetMenuStale{false};    ///< the preset folders have changed
  std::atomic<bool> presetNameStale{false};    ///< the preset's name and buttons have changed
  std::atomic<bool> bankStale{false};          ///< another bank is live
  std::atomic<bool> orderStale{false};         ///< the order of the bands has changed
  std::atomic<bool> kindsStale{false};         ///< a band's state, type or shape has changed
  std::atomic<bool> preferencesStale{false};   ///< the machine's preferences were applied again
  std::atomic<bool> gesturesStale{false};      ///< "VST Gestures" has changed
  std::atomic<bool> loadingFlagsStale{false};  ///< the `LoadingFlags` have changed

  // For the editor, in a `StateScope`.
  /// While the window is open, a newly loaded mode waits for the next layout. Closing the window
  /// puts a mode that still waits in force at once.
  void setWindowOpen(bool open) noexcept {
    windowOpen = open;
    if (!open) applyWantedMode();
  }
  [[nodiscard]] bool isWindowOpen() const noexcept { return windowOpen; }
  /// Begins a layout pass: clears its mark and puts the wanted mode in force. If the mode changes,
  /// the width follows the zoom; otherwise the zoom follows the width.
  void beginLayout() noexcept {
    layoutWanted.store(false);
    if (!applyWantedMode()) zoom = static_cast<double>(freeWidth) / widthOf(uimode);
  }
  /// Puts the wanted mode in force and fits the width to the zoom, unless it fits already. Returns
  /// whether the mode has changed.
  bool applyWantedMode() noexcept {
    const int width = widthOf(wantedUimode);
    const bool isOther = uimode != wantedUimode;
    const bool fits = static_cast<double>(freeWidth) / width == zoom;
    if (isOther && !fits) freeWidth = static_cast<int>(zoom * width);
    uimode = wantedUimode;
    return isOther;
  }

  [[nodiscard]] static constexpr int widthOf(int mode) noexcept {
    return mode == 0 ? kPlainWidth : kPanelWidth;
  }

 private:
  SharedNumber<bool> windowOpen = false;
};
