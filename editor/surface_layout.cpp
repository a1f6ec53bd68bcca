#include "editor/surface_layout.h"

#include "core/parameter_table.h"
#include "editor/layout/tag_table.h"
#include "host/editor_state.h"

namespace {

using Size = SurfaceSize;
using Present = PresentPlaces;

constexpr float kPanelShift = 145.0F;  // of the band panel, where the sidechain column is not shown

CRect whole(const Size& size, const Present&) { return {0.0F, 0.0F, size.width, size.height}; }

CRect overlay(const Size& size, const Present&) {
  return {0.0F, Size::kTitleHeight, size.width, size.overlayBottom()};
}

CRect titleButtons(const Size& size, const Present& present) {
  return {size.width - present.own.width(), present.own.top, size.width, present.own.bottom};
}

CRect titleBar(const Size& size, const Present& present) {
  return {0.0F, 0.0F, size.width - present.titleButtonsWidth, Size::kTitleHeight};
}

CRect presetTray(const Size& size, const Present& present) {
  const float left = (size.width - present.own.width()) * 0.5F;
  return {left, present.presetBoxTop, left + present.own.width(),
          present.presetBoxTop + present.own.height()};
}

CRect resizeCorner(const Size& size, const Present&) {
  return {size.width - 18.0F, size.height - 18.0F, size.width, size.height};
}

CRect helpSwitch(const Size& size, const Present&) {
  return {size.width - 31.0F, Size::kFullHeight - 24.0F, size.width - 15.0F,
          Size::kFullHeight - 7.0F};
}

CRect rightColumn(const Size& size, const Present&) {
  return {size.width - 190.0F, Size::kTitleHeight, size.width, size.height};
}

CRect advancedTab(const Size& size, const Present& present) {
  const float left = size.width - 350.0F;
  return {left, present.own.top, left + present.own.width(), present.own.bottom};
}

CRect bandPanel(const Size& size, const Present&) {
  return {size.mode == 1 ? 0.0F : -kPanelShift, 0.0F, size.graphWidth, 177.0F};
}

CRect bandFrame(const Size& size, const Present& present) {
  return {present.own.left, present.own.top, present.own.left + size.graphWidth,
          present.own.bottom};
}

constexpr SurfacePart kParts[] = {
    {kGUIBox3, 0, true, &whole},
    {kBypass, 0, false, &overlay},
    {kGUISetup, 1, true, &overlay},
    {kGUIBox2, 0, true, &titleButtons},
    {kGUIBox1, 0, false, &titleBar},
    {kGUIPresetBox, 0, true, &presetTray},
    {kGUIResize, 0, true, &resizeCorner},
    {kGUIDisableTooltips, 0, true, &helpSwitch},
    {kGUIBox4, 0, true, &rightColumn},
    {kGUIShowAdvanced, 0, true, &advancedTab},
    {kGUIBox7, SurfacePart::kEvery, false, &bandPanel},
    {kGUISelectedBand, SurfacePart::kEvery, false, &bandFrame, true},
};

}  // namespace

SurfaceSize::SurfaceSize(int panelMode, bool helps)
    : width(static_cast<float>(EditorState::widthOf(panelMode))),
      height(helps ? kFullHeight : kFullHeight - kHelpHeight),
      graphWidth(panelMode != 0 ? 786.0F : 641.0F),
      showsHelp(helps),
      mode(panelMode) {}

std::span<const SurfacePart> surfaceParts() { return kParts; }

CRect helpLinePlace(const SurfaceSize& size) {
  return {0.0F, Size::kFullHeight - Size::kHelpHeight, size.width, Size::kFullHeight};
}

CRect graphPlace(const SurfaceSize& size) {
  return {14.0F, 39.0F, size.graphWidth + 14.0F, 418.0F};
}

int bandTabAt(const SurfaceSize& size, CPoint where) {
  const CRect tabs{graphPlace(size).left, 421.0F, graphPlace(size).right, 448.0F};
  if (!tabs.contains(where)) return -1;
  return static_cast<int>((where.x - tabs.left) * static_cast<float>(kNumBands) / tabs.width());
}
