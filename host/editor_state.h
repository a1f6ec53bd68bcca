#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "host/shared_value.h"

/// What the editor shows of an instance, as far as documents carry it.
struct StoredEditorState {
  static constexpr int kPlainWidth = 844;  ///< pixels at zoom 1, without a side panel
  static constexpr int kPanelWidth = 989;  ///< pixels at zoom 1, in the other modes

  SharedNumber<int> uimode = 0;  ///< 0 plain, 1 sidechain panel, 2 advanced panel: the one in force
  SharedNumber<int> lastAB = 0;  ///< bank before the present one
  SharedNumber<int> lastListen = 0;
  SharedNumber<int> linkPage = 0;
  SharedNumber<int> zoomState = 0;
  SharedNumber<int> freeWidth = kPlainWidth;  ///< window width, pixels
  SharedNumber<int> currentBand = 0;          ///< 0..7
  SharedNumber<int> bandGraph = 0;
  SharedNumber<int> meterChannel = 0;
  SharedNumber<int> meterShow = 0;
  SharedNumber<int> meterZoom = 0;
  SharedNumber<float> meterRange = 24.0F;
  SharedNumber<int> lastPreset = 0;  ///< place in its menu
  std::string lastPresetFolder;      ///< `path` of that menu; empty if none
  bool operator==(const StoredEditorState&) const = default;
};

/// All that the editor shows, window or no window, and the marks by which state operations ask it
/// to look again.
///
/// Threads: the message thread and whoever saves or loads the state. Each number stands for itself;
/// texts, and what changes several numbers, are for who holds a `PlugBase::StateScope`. The editor
/// draws from it in its own idle call.
struct EditorState : StoredEditorState {
  SharedNumber<int> wantedUimode = 0;  ///< to be in force with the next layout
  SharedNumber<double> zoom = 1.0;     ///< `freeWidth` over the width of the mode

  SharedNumber<std::uint32_t> selectedBands = 1;  ///< bit per band
  SharedNumber<std::uint32_t> shownBands = 1;     ///< bit per band
  SharedNumber<std::uint32_t> visitedBanks = 0;   ///< bit per bank; message thread writes
  SharedNumber<int> selectMode = 0;  ///< not 0: several bands can be selected and edited together
  SharedNumber<bool> loadingFile = false;  ///< a file is being loaded: the window keeps its size

  // Marks, raised on any thread and taken down by the editor.
  std::atomic<bool> layoutWanted{false};       ///< the view tree is to be laid out again
  std::atomic<bool> defaultsStale{false};      ///< the parameters' defaults have changed
  std::atomic<bool> flagsStale{false};         ///< locks or links have changed
  std::atomic<bool> presetMenuStale{false};    ///< folders have changed
  std::atomic<bool> presetNameStale{false};    ///< the preset's name and buttons have changed
  std::atomic<bool> bankStale{false};          ///< another bank is live
  std::atomic<bool> orderStale{false};         ///< the bands' lists have changed
  std::atomic<bool> kindsStale{false};         ///< of bands: running, crossover or not, shape
  std::atomic<bool> preferencesStale{false};   ///< the effect has taken the machine's again
  std::atomic<bool> gesturesStale{false};      ///< whether the host is told of gestures
  std::atomic<bool> loadingFlagsStale{false};  ///< what presets carry

  // In a `StateScope`, by the editor.
  /// From `open` to `close` a mode that is loaded waits for the layout; what still waits in the end
  /// is in force at once.
  void setWindowOpen(bool open) noexcept {
    windowOpen = open;
    if (!open) applyWantedMode();
  }
  [[nodiscard]] bool isWindowOpen() const noexcept { return windowOpen; }
  /// Begins a layout pass: takes its mark, and the wanted mode is in force. In another mode the
  /// width follows the zoom, else the zoom the width.
  void beginLayout() noexcept {
    layoutWanted.store(false);
    if (!applyWantedMode()) zoom = static_cast<double>(freeWidth) / widthOf(uimode);
  }
  /// Whether it was another mode; a width that fits the zoom stays.
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
