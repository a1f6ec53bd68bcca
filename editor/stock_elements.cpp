#include "editor/stock_elements.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "editor/controls/pages.h"
#include "editor/layout/attributes.h"
#include "toolkit/buttons.h"
#include "toolkit/knob.h"
#include "toolkit/option_menu.h"
#include "toolkit/param_display.h"
#include "toolkit/pictures.h"
#include "toolkit/slider.h"
#include "toolkit/switches.h"
#include "toolkit/text_edit.h"
#include "toolkit/vu_meter.h"

namespace {

using Element = LayoutElement;

constexpr float kVuDecrease = 0.1F;

float imageHeight(const Element& element) {
  return static_cast<float>(elementNumber(element, "heightofoneimage"));
}

FilmStrip strip(const Element& element, const char* count) {
  return {std::max(elementNumber(element, count), 1), imageHeight(element)};
}

CView* makeNone(const Element& /*element*/, const ElementSetup& /*setup*/) { return nullptr; }

CView* makeContainer(const Element& element, const ElementSetup& setup) {
  auto* const container = new CGViewContainer(setup.size);
  container->setHidden(getAttributeBool(element.attributes, "hide"));
  container->setBackground(elementBitmap(element));
  return container;
}

template <typename Button>
CView* makeButton(const Element& element, const ElementSetup& setup) {
  return new Button(setup, elementBitmap(element), imageHeight(element));
}

CView* makeDisplay(const Element& element, const ElementSetup& setup) {
  auto* const display = new CParamDisplay(setup, elementNumber(element, "style"));
  display->setBackground(elementBitmap(element));
  return display;
}

template <typename Label>
CView* makeText(const Element& element, const ElementSetup& setup) {
  auto* const label =
      new Label(setup, elementText(element, "txt"), elementNumber(element, "style"));
  label->setBackground(elementBitmap(element));
  return label;
}

CView* makeMenu(const Element& element, const ElementSetup& setup) {
  auto* const menu = new COptionMenu(setup, elementNumber(element, "style"));
  menu->setBackground(elementBitmap(element));
  return menu;
}

CView* makeKnob(const Element& element, const ElementSetup& setup) {
  return new CKnob(setup, elementBitmap(element, "handle"), elementBitmap(element));
}

CView* makeAnimKnob(const Element& element, const ElementSetup& setup) {
  return new CAnimKnob(setup, elementBitmap(element), strip(element, "subpixmaps"));
}

template <typename Switch>
CView* makeSwitch(const Element& element, const ElementSetup& setup) {
  return new Switch(setup, elementBitmap(element), strip(element, "subpixmaps"),
                    elementNumber(element, "maxpositions"));
}

CView* makeRocker(const Element& element, const ElementSetup& setup) {
  const bool isVertical = elementNumber(element, "style") != 0;
  return new CRockerSwitch(
      setup, elementBitmap(element), imageHeight(element),
      isVertical ? CRockerSwitch::Style::kVertical : CRockerSwitch::Style::kHorizontal);
}

template <typename Picture>
CView* makePicture(const Element& element, const ElementSetup& setup) {
  return new Picture(setup, elementBitmap(element), strip(element, "subpixmaps"));
}

template <CSlider::Style kStyle>
CView* makeSlider(const Element& element, const ElementSetup& setup) {
  const bool isVertical = kStyle == CSlider::Style::kVertical;
  float first = static_cast<float>(elementNumber(element, "minpos"));
  float last = static_cast<float>(elementNumber(element, "maxpos"));
  if (last <= first) {  // none told: the whole view
    first = isVertical ? setup.size.top : setup.size.left;
    last = isVertical ? setup.size.bottom : setup.size.right;
  }
  return new CSlider(setup, kStyle, first, last, elementBitmap(element, "handle"),
                     elementBitmap(element));
}

CView* makeSplash(const Element& element, const ElementSetup& setup) {
  return new CSplashScreen(setup, elementBitmap(element),
                           {static_cast<float>(elementNumber(element, "dleft")),
                            static_cast<float>(elementNumber(element, "dtop")),
                            static_cast<float>(elementNumber(element, "dright")),
                            static_cast<float>(elementNumber(element, "dbottom"))});
}

CView* makeVu(const Element& element, const ElementSetup& setup) {
  const bool isVertical = elementNumber(element, "style") != 0;
  auto* const meter = new CVuMeter(
      setup, isVertical ? CVuMeter::Style::kVertical : CVuMeter::Style::kHorizontal,
      elementNumber(element, "nbled"), elementBitmap(element, "on"), elementBitmap(element, "off"));
  meter->setDecreaseStepValue(kVuDecrease);
  return meter;
}

constexpr auto kHorizontal = CSlider::Style::kHorizontal;
constexpr auto kVertical = CSlider::Style::kVertical;

constexpr ElementRow kStockRows[] = {
    {"CViewContainer", "CViewContainer", &makeNone},
    {"CGViewContainer", "CGViewContainer", &makeContainer},
    {"COnOffButton", "COnOffButton", &makeButton<COnOffButton>},
    {"CParamDisplay", "CParamDisplay", &makeDisplay},
    {"CTextLabel", "CTextLabel", &makeText<CTextLabel>},
    {"CTextEdit", "CTextEdit", &makeText<CTextEdit>},
    {"COptionMenu", "COptionMenu", &makeMenu},
    {"CKnob", "CKnob", &makeKnob},
    {"CAnimKnob", "CAnimKnob", &makeAnimKnob},
    {"CAnimKnob2", "CAnimKnob2", &makeAnimKnob},
    {"CVerticalSwitch", "CVerticalSwitch", &makeSwitch<CVerticalSwitch>},
    {"CHorizontalSwitch", "CHorizontalSwitch", &makeSwitch<CHorizontalSwitch>},
    {"CVerticalSwitch2", "CVerticalSwitch2", &makeSwitch<CVerticalSwitch>},
    {"CHorizontalSwitch2", "CHorizontalSwitch2", &makeSwitch<CHorizontalSwitch>},
    {"CRockerSwitch", "CRockerSwitch", &makeRocker},
    {"CRockerSwitch2", "CRockerSwitch2", &makeRocker},
    {"CMovieBitmap", "CMovieBitmap", &makePicture<CMovieBitmap>},
    {"CMovieBitmap2", "CMovieBitmap2", &makePicture<CMovieBitmap>},
    {"CMovieButton", "CMovieButton", &makeButton<CMovieButton>},
    {"CMovieButton2", "CMovieButton2", &makeButton<CMovieButton>},
    {"CAutoAnimation", "CAutoAnimation", &makePicture<CAutoAnimation>},
    {"CAutoAnimation2", "CAutoAnimation2", &makePicture<CAutoAnimation>},
    {"CSlider", "CSlider", &makeSlider<kHorizontal>},
    {"CVerticalSlider", "CVerticalSlider", &makeSlider<kVertical>},
    {"CHorizontalSlider", "CHorizontalSlider", &makeSlider<kHorizontal>},
    {"CSlider2", "CSlider2", &makeSlider<kHorizontal>},
    {"CVerticalSlider2", "CVerticalSlider2", &makeSlider<kVertical>},
    {"CHorizontalSlider2", "CHorizontalSlider2", &makeSlider<kHorizontal>},
    {"CKickButton", "CKickButton", &makeButton<CKickButton>},
    {"CKickButton2", "CKickButton2", &makeButton<CKickButton>},
    {"CSplashScreen", "CSplashScreen", &makeSplash},
    {"CVuMeter", "CVuMeter", &makeVu},
};

}  // namespace

std::span<const ElementRow> stockElements() { return kStockRows; }
