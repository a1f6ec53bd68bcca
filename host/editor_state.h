#pragma once

#include <atomic>
#include <cstdint>
#include <string>

/// What the editor shows of an instance, window or no window: the part of it that documents carry,
/// and the marks by which state operations ask it to look again.
///
/// Threads: the message thread and whoever saves or loads the state. Each number stands for itself;
/// texts are for who holds a `PlugBase::StateScope`. The editor draws from it in its own idle call.
struct EditorState {
  static constexpr int kPlainWidth = 844;  ///< pixels at zoom 1, without a side panel
  static constexpr int kPanelWidth = 989;  ///< pixels at zoom 1, in the other modes

  std::atomic<int> uimode{0};  ///< 0 plain, 1 sidechain panel, 2 advanced panel: the one in force
  std::atomic<int> wantedUimode{0};  ///< to be in force with the next layout
  std::atomic<int> lastAB{0};        ///< bank before the present one
  std::atomic<int> lastListen{0};
  std::atomic<int> linkPage{0};
  std::atomic<int> zoomState{0};
  std::atomic<int> freeWidth{kPlainWidth};  ///< window width, pixels
  std::atomic<double> zoom{1.0};            ///< `freeWidth` over the width of the mode
  std::atomic<int> currentBand{0};          ///< 0..7
  std::atomic<int> bandGraph{0};
  std::atomic<int> meterChannel{0};
  std::atomic<int> meterShow{0};
  std::atomic<int> meterZoom{0};
  std::atomic<float> meterRange{24.0F};
  std::atomic<int> lastPreset{0};  ///< place in its menu
  std::string lastPresetFolder;    ///< `path` of that menu; empty if none

  std::atomic<std::uint32_t> selectedBands{1};  ///< bit per band
  std::atomic<std::uint32_t> shownBands{1};     ///< bit per band
  std::uint32_t visitedBanks = 0;               ///< bit per bank
  int selectMode = 0;  ///< not 0: several bands can be selected and edited together
  std::atomic<bool> loadingFile{false};  ///< a file is being loaded: the window keeps its size

  // Marks, raised on any thread and taken down by the editor.
  std::atomic<bool> layoutWanted{false};     ///< the view tree is to be laid out again
  std::atomic<bool> defaultsStale{false};    ///< the parameters' defaults have changed
  std::atomic<bool> flagsStale{false};       ///< locks or links have changed
  std::atomic<bool> presetMenuStale{false};  ///< folders have changed
  std::atomic<bool> presetNameStale{
      false};                          ///< the preset's name and buttons are to be drawn again
  std::atomic<bool> bankStale{false};  ///< another bank is live

  [[nodiscard]] static constexpr int widthOf(int mode) noexcept {
    return mode == 0 ? kPlainWidth : kPanelWidth;
  }
};
