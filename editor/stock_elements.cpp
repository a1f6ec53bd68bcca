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

int number(const Element& element, std::string_view name) {
  return getAttributeInt(element.attributes, name);
}

std::string text(const Element& element, std::string_view name) {
  const char* const found = getAttribute(element.attributes, name);
  return found != nullptr ? found : "";
}

Held<CBitmap> bitmap(const Element& element, std::string_view name = "background") {
  return CBitmap::load(number(element, name));
}

float imageHeight(const Element& element) {
  return static_cast<float>(number(element, "heightofoneimage"));
}

FilmStrip strip(const Element& element, const char* count) {
  return {std::max(number(element, count), 1), imageHeight(element)};
}

using Maker = CView* (*)(const Element& element, const ControlSetup& setup);

CView* makeNone(const Element& /*element*/, const ControlSetup& /*setup*/) { return nullptr; }

CView* makeContainer(const Element& element, const ControlSetup& setup) {
  auto* const container = new CGViewContainer(setup.size);
  container->setHidden(getAttributeBool(element.attributes, "hide"));
  container->setBackground(bitmap(element));
  return container;
}

template <typename Button>
CView* makeButton(const Element& element, const ControlSetup& setup) {
  return new Button(setup, bitmap(element), imageHeight(element));
}

CView* makeDisplay(const Element& element, const ControlSetup& setup) {
  auto* const display = new CParamDisplay(setup, number(element, "style"));
  display->setBackground(bitmap(element));
  return display;
}

template <typename Label>
CView* makeText(const Element& element, const ControlSetup& setup) {
  auto* const label = new Label(setup, text(element, "txt"), number(element, "style"));
  label->setBackground(bitmap(element));
  return label;
}

CView* makeMenu(const Element& element, const ControlSetup& setup) {
  auto* const menu = new COptionMenu(setup, number(element, "style"));
  menu->setBackground(bitmap(element));
  return menu;
}

CView* makeKnob(const Element& element, const ControlSetup& setup) {
  return new CKnob(setup, bitmap(element, "handle"), bitmap(element));
}

CView* makeAnimKnob(const Element& element, const ControlSetup& setup) {
  return new CAnimKnob(setup, bitmap(element), strip(element, "subpixmaps"));
}

template <typename Switch>
CView* makeSwitch(const Element& element, const ControlSetup& setup) {
  return new Switch(setup, bitmap(element), strip(element, "subpixmaps"),
                    number(element, "maxpositions"));
}

CView* makeRocker(const Element& element, const ControlSetup& setup) {
  const bool isVertical = number(element, "style") != 0;
  return new CRockerSwitch(
      setup, bitmap(element), imageHeight(element),
      isVertical ? CRockerSwitch::Style::kVertical : CRockerSwitch::Style::kHorizontal);
}

template <typename Picture>
CView* makePicture(const Element& element, const ControlSetup& setup) {
  return new Picture(setup, bitmap(element), strip(element, "subpixmaps"));
}

template <CSlider::Style kStyle>
CView* makeSlider(const Element& element, const ControlSetup& setup) {
  const bool isVertical = kStyle == CSlider::Style::kVertical;
  float first = static_cast<float>(number(element, "minpos"));
  float last = static_cast<float>(number(element, "maxpos"));
  if (last <= first) {  // none told: the whole view
    first = isVertical ? setup.size.top : setup.size.left;
    last = isVertical ? setup.size.bottom : setup.size.right;
  }
  return new CSlider(setup, kStyle, first, last, bitmap(element, "handle"), bitmap(element));
}

CView* makeSplash(const Element& element, const ControlSetup& setup) {
  return new CSplashScreen(
      setup, bitmap(element),
      {static_cast<float>(number(element, "dleft")), static_cast<float>(number(element, "dtop")),
       static_cast<float>(number(element, "dright")),
       static_cast<float>(number(element, "dbottom"))});
}

CView* makeVu(const Element& element, const ControlSetup& setup) {
  const bool isVertical = number(element, "style") != 0;
  auto* const meter =
      new CVuMeter(setup, isVertical ? CVuMeter::Style::kVertical : CVuMeter::Style::kHorizontal,
                   number(element, "nbled"), bitmap(element, "on"), bitmap(element, "off"));
  meter->setDecreaseStepValue(kVuDecrease);
  return meter;
}

struct Row {
  std::string_view name;
  Maker make;
};

constexpr auto kHorizontal = CSlider::Style::kHorizontal;
constexpr auto kVertical = CSlider::Style::kVertical;

constexpr Row kRows[] = {
    {"CViewContainer", &makeNone},
    {"CGViewContainer", &makeContainer},
    {"COnOffButton", &makeButton<COnOffButton>},
    {"CParamDisplay", &makeDisplay},
    {"CTextLabel", &makeText<CTextLabel>},
    {"CTextEdit", &makeText<CTextEdit>},
    {"COptionMenu", &makeMenu},
    {"CKnob", &makeKnob},
    {"CAnimKnob", &makeAnimKnob},
    {"CAnimKnob2", &makeAnimKnob},
    {"CVerticalSwitch", &makeSwitch<CVerticalSwitch>},
    {"CHorizontalSwitch", &makeSwitch<CHorizontalSwitch>},
    {"CVerticalSwitch2", &makeSwitch<CVerticalSwitch>},
    {"CHorizontalSwitch2", &makeSwitch<CHorizontalSwitch>},
    {"CRockerSwitch", &makeRocker},
    {"CRockerSwitch2", &makeRocker},
    {"CMovieBitmap", &makePicture<CMovieBitmap>},
    {"CMovieBitmap2", &makePicture<CMovieBitmap>},
    {"CMovieButton", &makeButton<CMovieButton>},
    {"CMovieButton2", &makeButton<CMovieButton>},
    {"CAutoAnimation", &makePicture<CAutoAnimation>},
    {"CAutoAnimation2", &makePicture<CAutoAnimation>},
    {"CSlider", &makeSlider<kHorizontal>},
    {"CVerticalSlider", &makeSlider<kVertical>},
    {"CHorizontalSlider", &makeSlider<kHorizontal>},
    {"CSlider2", &makeSlider<kHorizontal>},
    {"CVerticalSlider2", &makeSlider<kVertical>},
    {"CHorizontalSlider2", &makeSlider<kHorizontal>},
    {"CKickButton", &makeButton<CKickButton>},
    {"CKickButton2", &makeButton<CKickButton>},
    {"CSplashScreen", &makeSplash},
    {"CVuMeter", &makeVu},
};

}  // namespace

std::optional<CView*> makeStockElement(const LayoutElement& element, CControlListener& listener) {
  const auto* const row = std::ranges::find(kRows, std::string_view(element.name), &Row::name);
  if (row == std::end(kRows)) return std::nullopt;
  return row->make(element, {element.rect, &listener, element.tag});
}
