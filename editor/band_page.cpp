#include "editor/band_page.h"

#include <array>
#include <string>
#include <utility>

#include "core/parameter_table.h"
#include "editor/controls/activate_button.h"
#include "editor/controls/control_block.h"
#include "editor/controls/labels.h"
#include "editor/controls/section_labels.h"
#include "editor/layout/tag_table.h"
#include "graphs/dynamic_response.h"
#include "graphs/meters/gain_meters.h"
#include "graphs/sc_eq_graph.h"
#include "toolkit/look.h"

namespace {

constexpr int kPanelHeight = 177;

// Rows, of the sidechain column and of the grid.
struct RowPlace {
  float top;
  float height;
};
constexpr std::array<RowPlace, 5> kRowPlaces = {
    {{0, 38}, {47, 38}, {93, 20}, {116, 20}, {139, 20}}};
constexpr float kGridTop = 9.0F;
constexpr float kOneLine = 20.0F;

constexpr float kSideLeft = 15.0F;
constexpr float kSideRight = 146.0F;
constexpr float kSideRaisedTop = 32.0F;  // of its first two rows

constexpr int kColumns = 4;
constexpr float kColumnLeft = 350.0F;
constexpr float kColumnPitch = 145.0F;
constexpr float kCellWidth = 131.0F;
constexpr float kAdvancedLeft = kColumnLeft + 3 * kColumnPitch;

constexpr CRect kGraph{160, 15, 284, 139};
constexpr CRect kGraphWords{160, 142, 278, 162};
constexpr CRect kListenPlace{278, 142, 297, 162};
constexpr CRect kMeter{298, 15, 336, 161};

constexpr std::array<std::array<std::int32_t, kColumns>, 5> kGrid = {{
    {kB1Threshold, kB1Frequency, kB1Attack, kB1DryGain},
    {kB1Ratio, kB1Gain, kB1RelSlow, kB1RatioB},
    {kB1Ceiling, kB1Slope, kB1RelFast, kB1Floor},
    {kB1Knee, kB1Q, kB1RMS, kB1Deadband},
    {kB1Position, kB1Target, kB1Crest, kB1Shape},
}};

CRect cellPlace(std::size_t row, std::size_t column) {
  const float left = kColumnPitch * static_cast<float>(column) + kColumnLeft;
  const float top = kRowPlaces[row].top + kGridTop;
  return {left, top, left + kCellWidth, top + kRowPlaces[row].height};
}

CRect sidePlace(std::size_t row) {
  const float top = kRowPlaces[row].top + (row < 2 ? kSideRaisedTop : kGridTop);
  return {kSideLeft, top, kSideRight, top + kRowPlaces[row].height};
}

CRect atOrigin(const CRect& rect) { return {0.0F, 0.0F, rect.width(), rect.height()}; }

CRect leftPart(const CRect& rect, float width) {
  return {rect.left, rect.top, rect.left + width, rect.bottom};
}

/// Builds the page of one band.
class BandPage {
 public:
  BandPage(CControlListener* who, ValueSource& source, Plug& shown, int which,
           CViewContainer& container)
      : listener(who), values(source), effect(shown), band(which), page(container) {}

  void fill() {
    addSeparators();
    addSidechain();
    addGraphs();
    for (std::size_t row = 0; row < kGrid.size(); ++row) {
      for (std::size_t column = 0; column < kColumns; ++column) addCell(row, column);
    }
  }

 private:
  [[nodiscard]] std::int32_t id(std::int32_t bandOneId) const {
    return bandParameterId(band, bandOneId);
  }
  [[nodiscard]] ControlSetup at(const CRect& place, std::int32_t tag) const {
    return {place, listener, tag};
  }

  void addSeparators() {
    for (int column = 1; column < kColumns - 1; ++column) {
      const float x = kColumnPitch * static_cast<float>(column) + kColumnLeft - 7.0F;
      page.addView(new nSeparator(at({x, 12, x + 1, kPanelHeight - 12}, -1), look::kBorder));
    }
  }

  void addSidechain() {
    page.addView(new CStaticTextLabel(at({kSideLeft, 9, 81, 29}, -1), "SIDECHAIN",
                                      look::bold(look::kSmallTextSize, look::kValue)));
    page.addView(new nSeparator(at({81, 19, kSideRight, 20}, -1), look::kBorder));
    addFaderBlock(page, sidePlace(0), kB1SCTrim);
    addSource();
    addPosition(sidePlace(2), kB1SCPos, kB1SCLR);
    addTextBlock(page, sidePlace(3), kB1SCLink);
    addTextBlock(page, sidePlace(4), kB1Lookahead);
  }

  void addSource() {
    const CRect place = sidePlace(1);
    const CRect line{0.0F, 0.0F, place.width(), kOneLine};  // the next row begins below it
    auto* const block = new CGViewContainer(place);
    block->addView(new CStaticTextLabel(at(line, -1), "SOURCE",
                                        look::bold(look::kSmallTextSize, look::kLabel)));
    block->addView(new SCSelectMenu(at(line, id(kB1SCSrc)), values));
    page.addView(block);
  }

  /// Mid and side or left and right, and where between them.
  void addPosition(const CRect& place, std::int32_t position, std::int32_t stereo) {
    const bool ofSidechain = position == kB1SCPos;
    auto* const text =
        new CTTText(at(place, id(position)), values,
                    ofSidechain ? look::bold(look::kSmallTextSize, look::kLit, kRightText)
                                : look::bold(look::kTextSize, look::kValue, kRightText));
    text->setEntryWidth(kEntryWidth);
    page.addView(text);
    page.addView(words(leftPart(place, ofSidechain ? 95.0F : 80.0F), id(stereo),
                       ofSidechain ? "SC " : " ", "M/S", "L/R"));
  }

  CView* words(const CRect& place, std::int32_t tag, std::string prefix, std::string offWord,
               std::string onWord) {
    return new CDashSeparatedTextValueButton(
        at(place, tag), std::move(prefix),
        {std::move(onWord), std::move(offWord), look::kValue, look::kUnlit, false},
        look::bold(look::kSmallTextSize, look::kValue));
  }

  void addGraphs() {
    const ControlSetup graph = at(atOrigin(kGraph), -1);
    addGraph(1, new DynamicResponse(graph, effect, band));
    addGraph(0, new SCEQGraph(graph, values, effect, band));
    page.addView(words(kGraphWords, kGUIBandGraph, "", "SC EQ", "RESPONSE"));
    page.addView(new SCListenButton(at(kListenPlace, kGUIBandSCListen + band)));
    page.addView(new miniPPMmeter(at(kMeter, kGUIBandPPM + band)));
    page.addView(new activateButton(at(kGraph, id(kB1State))));
  }

  void addGraph(int number, CView* graph) {
    auto* const graphPage = new nPage(kGraph, kGUIBandGraph, number);
    graphPage->addView(graph);
    page.addView(graphPage);
  }

  void addCell(std::size_t row, std::size_t column) {
    const CRect place = cellPlace(row, column);
    const std::int32_t parameter = kGrid[row][column];
    switch (parameter) {
      case kB1Slope:
        return addSlopes(place);
      case kB1Q:
        return addQ(place);
      case kB1Position:
        return addPosition(place, kB1Position, kB1LR);
      default:
        if (row < 2) return addFaderBlock(page, place, parameter);
        addTextBlock(page, place, parameter);
    }
  }

  /// A page with one slope, and one with two of which one is chosen.
  void addSlopes(const CRect& place) {
    auto* const acting = new nPage(place, kGUIBandShowSlope + band, 1);
    const CRect whole = atOrigin(place);
    auto* const two = new nPage(whole, kGUIBandShowSlope2 + band, 1);
    two->addView(slopePage(whole, 0, kB1Slope));
    two->addView(slopePage(whole, 1, kB1Slope2));
    // The upper slope is that of 0, and R.
    two->addView(
        new CDashSeparatedTextValueButton(at(leftPart(whole, 80.0F), kGUIShowSlope2), "SLOPE ",
                                          {"L", "R", look::kValue, look::kUnlit, false, true},
                                          look::bold(look::kSmallTextSize, look::kValue)));
    acting->addView(two);
    auto* const one = new nPage(whole, kGUIBandShowSlope2 + band, 0);
    addTextBlock(*one, whole, kB1Slope);
    acting->addView(one);
    page.addView(acting);
  }

  CView* slopePage(const CRect& place, int number, std::int32_t parameter) {
    auto* const slopes = new nPage(place, kGUIShowSlope2, number);
    auto* const text = new CTTText(at(place, id(parameter)), values,
                                   look::bold(look::kTextSize, look::kValue, kRightText));
    text->setDragFactor(dragFactorOf(values.stepsOf(id(parameter))));
    text->setEntryWidth(kEntryWidth);
    slopes->addView(text);
    return slopes;
  }

  void addQ(const CRect& place) {
    auto* const acting = new nPage(place, kGUIBandShowQ + band, 1);
    addTextBlock(*acting, atOrigin(place), kB1Q);
    page.addView(acting);
  }

  [[nodiscard]] ControlBlock::Options options(std::int32_t parameter) const {
    ControlBlock::Options chosen;
    chosen.dragFactor = dragFactorOf(values.stepsOf(id(parameter)));
    if (parameter == kB1Ratio || parameter == kB1RatioB) chosen.detents = kRatioStops;
    chosen.marksZero = parameter == kB1Gain || parameter == kB1SCTrim;
    return chosen;
  }

  void addFaderBlock(CViewContainer& holder, const CRect& place, std::int32_t parameter) {
    holder.addView(
        new ScalableLFControlBlock(at(place, id(parameter)), values, options(parameter)));
  }

  void addTextBlock(CViewContainer& holder, const CRect& place, std::int32_t parameter) {
    ControlBlock::Options chosen = options(parameter);
    chosen.mode = 1;
    holder.addView(new ControlBlock(at(place, id(parameter)), values, std::move(chosen)));
  }

  static constexpr float kEntryWidth = 66.0F;

  CControlListener* listener;
  ValueSource& values;
  Plug& effect;
  int band;
  CViewContainer& page;
};

}  // namespace

float dragFactorOf(const ValueSteps& steps) noexcept {
  switch (steps.curve) {
    case kCurveExponential:
    case kCurveWhole:
    case kCurveMultipleOf6:
    case kCurveMultipleOf12:
    case kCurveOctaves:
    case kCurveFloor:
      return 4.0F;
    default:
      return 3.0F;
  }
}

BandColumn bandColumnOf(const CView& view) {
  const CRect& place = view.getViewSize();
  if (place.right <= kSideRight) return BandColumn::kSidechain;
  if (place.left >= kAdvancedLeft) return BandColumn::kAdvanced;
  return place.left >= kColumnLeft ? BandColumn::kMain : BandColumn::kGraphs;
}

void fillBandPage(CViewContainer& page, int band, CControlListener* listener, ValueSource& values,
                  Plug& effect) {
  BandPage(listener, values, effect, band, page).fill();
}
