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

/// Of the pictures in a bitmap; 0 leaves it to the control. Elements of a name without a 2 tell
/// nothing of them.
int told(const Element& element, std::string_view name) {
  return std::string_view(element.name).ends_with('2') ? elementNumber(element, name) : 0;
}

float imageHeight(const Element& element) {
  return static_cast<float>(told(element, "heightofoneimage"));
}

/// Pictures as high as the view, and as many as there are, where nothing else is told.
FilmStrip strip(const Element& element, const CBitmap* bitmap) {
  const int toldHeight = told(element, "heightofoneimage");
  const int height = toldHeight > 0 ? toldHeight : static_cast<int>(element.rect.height());
  int count = told(element, "subpixmaps");
  if (count <= 0 && bitmap != nullptr && height > 0) count = bitmap->getHeight() / height;
  return {std::max(count, 1), static_cast<float>(height)};
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
  const Held<CBitmap> picture = elementBitmap(element);
  return new CAnimKnob(setup, picture, strip(element, picture.get()));
}

template <typename Switch>
CView* makeSwitch(const Element& element, const ElementSetup& setup) {
  const Held<CBitmap> picture = elementBitmap(element);
  const FilmStrip pictures = strip(element, picture.get());
  const int positions = told(element, "maxpositions");
  return new Switch(setup, picture, pictures, positions > 0 ? positions : pictures.frames);
}

CView* makeRocker(const Element& element, const ElementSetup& setup) {
  const bool isVertical = elementNumber(element, "style") != 0;
  return new CRockerSwitch(
      setup, elementBitmap(element), imageHeight(element),
      isVertical ? CRockerSwitch::Style::kVertical : CRockerSwitch::Style::kHorizontal);
}

template <typename Picture>
CView* makePicture(const Element& element, const ElementSetup& setup) {
  const Held<CBitmap> picture = elementBitmap(element);
  return new Picture(setup, picture, strip(element, picture.get()));
}

CView* makeSliderOf(CSlider::Style style, const Element& element, const ElementSetup& setup) {
  const bool isVertical = style == CSlider::Style::kVertical;
  const Held<CBitmap> handle = elementBitmap(element, "handle");
  float first = static_cast<float>(elementNumber(element, "minpos"));
  float last = static_cast<float>(elementNumber(element, "maxpos"));
  if (last <= first) {  // none told: the whole view
    const int length = !handle ? 0 : isVertical ? handle->getHeight() : handle->getWidth();
    first = isVertical ? setup.size.top : setup.size.left;
    last = (isVertical ? setup.size.bottom : setup.size.right) - static_cast<float>(length);
  }
  return new CSlider(setup, style, first, last, handle, elementBitmap(element));
}

constexpr auto kHorizontal = CSlider::Style::kHorizontal;
constexpr auto kVertical = CSlider::Style::kVertical;

template <CSlider::Style kStyle>
CView* makeSlider(const Element& element, const ElementSetup& setup) {
  return makeSliderOf(kStyle, element, setup);
}

CView* makeStyledSlider(const Element& element, const ElementSetup& setup) {
  return makeSliderOf(elementNumber(element, "style") != 0 ? kVertical : kHorizontal, element,
                      setup);
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
    {"CSlider", "CSlider", &makeStyledSlider},
    {"CVerticalSlider", "CVerticalSlider", &makeSlider<kVertical>},
    {"CHorizontalSlider", "CHorizontalSlider", &makeSlider<kHorizontal>},
    {"CSlider2", "CSlider2", &makeStyledSlider},
    {"CVerticalSlider2", "CVerticalSlider2", &makeSlider<kVertical>},
    {"CHorizontalSlider2", "CHorizontalSlider2", &makeSlider<kHorizontal>},
    {"CKickButton", "CKickButton", &makeButton<CKickButton>},
    {"CKickButton2", "CKickButton2", &makeButton<CKickButton>},
    {"CSplashScreen", "CSplashScreen", &makeSplash},
    {"CVuMeter", "CVuMeter", &makeVu},
};

}  // namespace

std::span<const ElementRow> stockElements() { return kStockRows; }
