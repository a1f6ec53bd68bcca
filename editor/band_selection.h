#pragma once

#include <cstdint>
#include <vector>

struct EditorState;

/// Which bands are selected, in which order, and which of them is shown: the last. A gesture that
/// takes bands in and out step by step is settled when it ends. Threads: message thread, under the
/// frame's lock.
class BandSelection {
 public:
  explicit BandSelection(EditorState& shown) noexcept : editor(shown) {}

  /// Several bands can be selected from now on.
  void allowSeveral();
  /// One band alone is selected and shown. `keepsMasks`: what is selected has been set already.
  void select(int band, bool keepsMasks = false);
  /// One band alone, without its being shown; -1: `present`, and none where that is -1, too.
  void selectOnly(int band, int present);
  /// Takes a band in or out; -1 ends the gesture. True if another band is shown now.
  bool toggle(int band);
  /// As a gesture of one step. True if another band is shown now.
  bool shiftSelect(int band);
  [[nodiscard]] std::uint32_t selected() const noexcept;

 private:
  void followMask();
  void flip(int band);
  bool showLast();

  EditorState& editor;
  std::uint32_t pendingBands = 0;
  std::uint32_t lastSelection = 0;
  std::vector<int> selectionOrder;
};
