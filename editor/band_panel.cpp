#include "editor/band_panel.h"

#include "editing/parameter_ids.h"
#include "editor/band_page.h"
#include "editor/controls/band_hues.h"
#include "editor/controls/band_tabs.h"
#include "editor/controls/labels.h"
#include "editor/controls/marks.h"
#include "editor/controls/rounded_frame.h"
#include "editor/layout/tag_table.h"
#include "toolkit/look.h"

namespace {

constexpr int kBands = band_hues::kBands;
constexpr float kHiddenWidth = 145.0F;  // that the page is wider than its frame
constexpr float kTintWidth = 152.0F;

template <typename Act>
void forChildren(CViewContainer& container, Act&& act) {
  for (std::size_t i = 0; i < container.getViewCount(); ++i) act(*container.getView(i));
}

void disable(CView& view, bool on) {
  if (auto* const own = dynamic_cast<nCanDisable*>(&view)) return own->setDisabled(on);
  if (auto* const container = dynamic_cast<CViewContainer*>(&view)) {
    forChildren(*container, [on](CView& child) {
      auto* const label = dynamic_cast<CStaticTextLabel*>(&child);
      if (label != nullptr) label->setColour(on ? look::kOff : look::kLabel);
      disable(child, on);
    });
  }
}

}  // namespace

BandKindPages BandKindPages::of(int flags) noexcept {
  constexpr int kHasQ = 4;
  constexpr int kHasTwoSlopes = 8;
  constexpr int kHasSlope = 16;
  const auto is = [flags](int any) { return (flags & any) != 0 ? 1.0F : 0.0F; };
  return {is(kHasSlope), is(kHasTwoSlopes), is(kHasQ)};
}

CView* BandPanel::build(const ControlSetup& setup, ValueSource& values, Plug& effect) {
  auto* const panel = new nPage(setup.size, setup.tag, 0);
  const CRect whole{0.0F, 0.0F, setup.size.width(), setup.size.height()};
  for (int band = 0; band < kBands; ++band) {
    auto* const frame = new roundEdgedFrame(
        whole, kGUISelectedBand, band, roundEdgedFrame::kRoundTop | roundEdgedFrame::kRoundBottom,
        look::kBorder, look::kPanel);
    auto* const page =
        new nPage({0.0F, 0.0F, whole.right + kHiddenWidth, whole.bottom}, kGUIBox7, 0);
    fillBandPage(*page, band, setup.listener, values, effect);
    frame->addView(page);
    panel->addView(frame);
  }
  return panel;
}

BandPanel::BandPanel(const ControlIndex& controls) {
  if (auto* const found = dynamic_cast<iControlWrapper*>(controls.find(kGUIBox6))) {
    panel = dynamic_cast<CViewContainer*>(&found->wrapped().asView());
  }
}

roundEdgedFrame* BandPanel::frameOf(int band) const {
  if (panel == nullptr) return nullptr;
  return dynamic_cast<roundEdgedFrame*>(panel->getView(static_cast<std::size_t>(band)));
}

void BandPanel::setMode(int mode) {
  using Column = roundEdgedFrame::Column;
  Column column{Column::Side::kNone, kTintWidth, look::kColumn};
  if (mode == 1) column.side = Column::Side::kLeft;
  if (mode == 2) column.side = Column::Side::kRight;
  for (int band = 0; band < kBands; ++band) {
    roundEdgedFrame* const frame = frameOf(band);
    if (frame == nullptr) continue;
    frame->setColumn(column);
    // What is beyond the panel's edges is not there for mouse and keys either.
    forChildren(dynamic_cast<CViewContainer&>(*frame->getView(0)), [mode](CView& view) {
      const BandColumn own = bandColumnOf(view);
      if (own == BandColumn::kSidechain) view.setVisible(mode == 1);
      if (own == BandColumn::kAdvanced) view.setVisible(mode == 2);
    });
  }
}

void BandPanel::showStates(const ValueSource& values) {
  for (int band = 0; band < kBands; ++band) {
    roundEdgedFrame* const frame = frameOf(band);
    if (frame == nullptr) continue;
    const bool isActive = values.valueOf(bandParameterId(band, kB1State)) >= 0.5F;
    const bool runs = isActive && values.valueOf(bandParameterId(band, kB1Bypass)) < 0.5F;
    frame->setTopEdge(runs ? band_hues::faint(band, 0.45F) : kTransparentCColor);
    forChildren(dynamic_cast<CViewContainer&>(*frame->getView(0)), [isActive](CView& view) {
      if (bandColumnOf(view) != BandColumn::kGraphs) disable(view, !isActive);
    });
  }
}

bandTabs* findBandTabs(const ControlIndex& controls) {
  bandTabs* found = nullptr;
  controls.forEach(kGUISelectedBand, [&found](CControl& control) {
    if (auto* const tabs = dynamic_cast<bandTabs*>(&control)) found = tabs;
  });
  return found;
}
