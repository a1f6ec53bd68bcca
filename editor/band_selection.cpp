#include "editor/band_selection.h"

#include <algorithm>
#include <bit>

#include "dynamics/bands.h"
#include "host/editor_state.h"

namespace {

std::uint32_t bitOf(int band) { return isBand(band) ? 1U << band : 0U; }

}  // namespace

void BandSelection::allowSeveral() {
  editor.selectMode = 1;
  editor.selectedBands = editor.selectedBands | bitOf(editor.currentBand);
  editor.shownBands = editor.shownBands | bitOf(editor.currentBand);
  pendingBands = lastSelection = editor.selectedBands;
  followMask();
  std::erase(selectionOrder, editor.currentBand);
  selectionOrder.push_back(editor.currentBand);
}

/// In band order those that have been taken in since.
void BandSelection::followMask() {
  const std::uint32_t mask = editor.selectedBands;
  std::erase_if(selectionOrder, [mask](int band) { return (mask & bitOf(band)) == 0; });
  for (int band = 0; band < kNumBands; ++band) {
    const bool isListed = std::ranges::find(selectionOrder, band) != selectionOrder.end();
    if ((mask & bitOf(band)) != 0 && !isListed) selectionOrder.push_back(band);
  }
}

std::uint32_t BandSelection::selected() const noexcept { return editor.selectedBands; }

void BandSelection::select(int band, bool keepsMasks) {
  if (!isBand(band)) return;
  if (!keepsMasks) {
    if (editor.selectMode != 0) editor.shownBands = bitOf(band);
    editor.selectedBands = bitOf(band);
    pendingBands = lastSelection = bitOf(band);
    selectionOrder.assign(1, band);
  }
  editor.currentBand = band;
}

void BandSelection::selectOnly(int band, int present) {
  if (editor.selectMode != 0) editor.shownBands = bitOf(band);
  editor.selectedBands = band >= 0 ? bitOf(band) : bitOf(present);
  const int shown = band >= 0 ? band : present;
  if (isBand(shown)) editor.currentBand = shown;
  // What a gesture adds to, and falls back to.
  pendingBands = lastSelection = editor.selectedBands;
  selectionOrder.clear();
  if (isBand(shown)) selectionOrder.push_back(shown);
}

void BandSelection::flip(int band) {
  const std::uint32_t bit = bitOf(band);
  const bool several = editor.selectMode != 0;
  if (several) editor.shownBands = editor.shownBands ^ bit;
  const std::uint32_t kept = several ? editor.shownBands & bit : 0U;
  editor.selectedBands = (editor.selectedBands & ~bit) | kept;
  pendingBands = editor.selectedBands;
}

bool BandSelection::toggle(int band) {
  if (isBand(band)) {
    flip(band);
    return false;
  }
  for (std::uint32_t changed = pendingBands ^ lastSelection; changed != 0; changed &= changed - 1) {
    const int other = std::countr_zero(changed);
    std::erase(selectionOrder, other);
    if ((pendingBands & bitOf(other)) != 0) selectionOrder.push_back(other);
  }
  lastSelection = pendingBands;
  return showLast();
}

bool BandSelection::shiftSelect(int band) {
  if (!isBand(band)) return false;
  const std::uint32_t before = editor.selectedBands;
  if (std::popcount(before) <= 1 && before != bitOf(band)) {
    selectionOrder.clear();
    for (int other = 0; other < kNumBands; ++other) {
      if ((before & bitOf(other)) != 0) selectionOrder.push_back(other);
    }
  }
  flip(band);
  const bool wasSelected = (before & bitOf(band)) != 0;
  std::erase(selectionOrder, band);
  if (!wasSelected) selectionOrder.push_back(band);
  lastSelection = pendingBands = editor.selectedBands;
  return showLast();
}

bool BandSelection::showLast() {
  if (selectionOrder.empty()) return false;
  const int last = selectionOrder.back();
  if (last == editor.currentBand) return false;
  editor.currentBand = last;
  return true;
}
