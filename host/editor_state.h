#pragma once

#include <atomic>
#include <cstdint>
#include <string>

/// What the editor shows of an instance, window or no window: the part of it that documents carry,
/// and the marks by which state operations ask it to look again. Message thread, and the host's
/// state calls; the editor draws from it in its own idle call.
struct EditorState {
  static constexpr int kPlainWidth = 844;  ///< pixels at zoom 1, without a side panel
  static constexpr int kPanelWidth = 989;  ///< pixels at zoom 1, in the other modes

  int uimode = 0;        ///< 0 plain, 1 sidechain panel, 2 advanced panel: the one in force
  int wantedUimode = 0;  ///< to be in force with the next layout
  int lastAB = 0;        ///< bank before the present one
  int lastListen = 0;
  int linkPage = 0;
  int zoomState = 0;
  int freeWidth = kPlainWidth;  ///< window width, pixels
  double zoom = 1.0;            ///< `freeWidth` over the width of the mode
  int currentBand = 0;          ///< 0..7
  int bandGraph = 0;
  int meterChannel = 0;
  int meterShow = 0;
  int meterZoom = 0;
  float meterRange = 24.0F;
  int lastPreset = 0;            ///< place in its menu
  std::string lastPresetFolder;  ///< `path` of that menu; empty if none

  std::uint32_t selectedBands = 1;  ///< bit per band
  std::uint32_t shownBands = 1;     ///< bit per band
  std::uint32_t visitedBanks = 0;   ///< bit per bank
  int selectMode = 0;               ///< not 0: several bands can be selected and edited together
  bool loadingFile = false;         ///< a file is being loaded: the window keeps its size

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
