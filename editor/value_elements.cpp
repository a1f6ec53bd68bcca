#include "editor/value_elements.h"

#include <string>
#include <utility>

#include "editor/controls/control_block.h"
#include "editor/controls/faders.h"
#include "editor/controls/option_menus.h"
#include "editor/controls/value_text.h"
#include "toolkit/look.h"

namespace {

using Element = LayoutElement;

constexpr float kSlowDrag = 20.0F;
constexpr float kUsualDrag = 3.0F;
constexpr int kSetupMode = 4;
constexpr int kDitherMode = 11;

ControlBlock::Options blockOptions(const Element& element, int mode) {
  ControlBlock::Options options;
  options.mode = elementNumber(element, "setup") * kSetupMode + mode;
  options.label = elementText(element, "label");
  options.menuText = elementText(element, "text");
  options.dragFactor = elementNumber(element, "slow") != 0 ? kSlowDrag : kUsualDrag;
  return options;
}

template <int kMode>
CView* makeBlock(const Element& element, const ElementSetup& setup) {
  return new ControlBlock(setup, setup.values, blockOptions(element, kMode));
}

CView* makeDitherMenu(const Element& element, const ElementSetup& setup) {
  ControlBlock::Options options = blockOptions(element, 0);
  options.mode = kDitherMode;
  return new ControlBlock(setup, setup.values, std::move(options));
}

CView* makeScalableBlock(const Element& element, const ElementSetup& setup) {
  ControlBlock::Options options = blockOptions(element, 0);
  const ValueSteps steps = setup.values.stepsOf(setup.tag);
  options.marksZero = steps.least < 0.0F && steps.least == -steps.most;
  return new ScalableLFControlBlock(setup, setup.values, std::move(options));
}

template <int kSize, std::uint32_t kColour, CHoriTxtAlign kAlign>
CView* makeValueText(const Element& /*element*/, const ElementSetup& setup) {
  return new CTTText(setup, setup.values,
                     look::bold(static_cast<float>(kSize), CColor::rgb(kColour), kAlign));
}

CView* makeFader(const Element& element, const ElementSetup& setup) {
  return new nFader(setup, setup.values, {CSlider::Style::kVertical}, elementBitmap(element));
}

CView* makeLyingFader(const Element& element, const ElementSetup& setup) {
  return new nFaderH(setup, setup.values, elementBitmap(element));
}

CView* makeLineFader(const Element& /*element*/, const ElementSetup& setup) {
  return new LineFader(setup, setup.values, {CSlider::Style::kVertical});
}

constexpr std::uint32_t kValueColour = 0x5785a6;
constexpr std::uint32_t kDarkColour = 0x000000;
constexpr std::uint32_t kLitColour = 0x4e9acc;

constexpr ElementRow kRows[] = {
    {"ControlBlock", "ControlBlock", &makeBlock<0>},
    {"SControlBlock", "ScalableLFControlBlock", &makeScalableBlock},
    {"ControlText", "ControlBlock", &makeBlock<1>},
    {"ControlButton", "ControlBlock", &makeBlock<2>},
    {"ControlMenu", "ControlBlock", &makeBlock<3>},
    {"ControlMenuDither", "ControlBlock", &makeDitherMenu},
    {"CTTText", "CTTText", &makeValueText<12, kValueColour, kLeftText>},
    {"CTTTextBlack", "CTTText", &makeValueText<12, kDarkColour, kLeftText>},
    {"CTTTextMini", "CTTText", &makeValueText<10, kLitColour, kLeftText>},
    {"CTTTextMiniC", "CTTText", &makeValueText<10, kLitColour, kCenterText>},
    {"nFader", "nFader", &makeFader},
    {"nFaderH", "nFaderH", &makeLyingFader},
    {"VLineFader", "LineFader", &makeLineFader},
};

}  // namespace

std::span<const ElementRow> valueElements() { return kRows; }
