#include "toolkit/modal_box.h"

#include <algorithm>
#include <cmath>

#include "toolkit/frame.h"
#include "toolkit/look.h"

namespace {

constexpr float kButtonGap = 8.0F;
constexpr BoxLook kBoxGround{5.0F, look::kBluePanel, look::kBlueBorder, 8, 0.09F, 3.0F};

CRect inMiddle(const CRect& window, float width, float height) {
  const float w = std::min(width, window.width());
  const float h = std::min(height, window.height());
  const float left = std::floor(0.5F * (window.width() - w));
  const float top = std::floor(0.5F * (window.height() - h));
  return {left, top, left + w, top + h};
}

}  // namespace

ModalBox::ModalBox(const CRect& window, float width, float height)
    : CViewContainer({0.0F, 0.0F, window.width(), window.height()}),
      boxPlace(inMiddle(window, width, height)),
      leftmost(boxPlace.right - kMargin) {}

ModalBox::~ModalBox() = default;

void ModalBox::drawBackgroundRect(CDrawContext& context, const CRect& /*part*/) {
  context.fillRect(size, look::kDarkened);
  ground.draw(context, boxPlace, kBoxGround);
}

void ModalBox::addButtons(const std::vector<std::string>& texts,
                          const std::function<void(int index)>& act) {
  const float bottom = boxPlace.bottom - kMargin;
  buttons.resize(texts.size());
  float right = boxPlace.right - kMargin;
  for (std::size_t i = texts.size(); i-- > 0;) {
    leftmost = std::max(boxPlace.left + kMargin, right - PushButton::widthFor(texts[i]));
    buttons[i] = new PushButton({leftmost, bottom - look::kButtonHeight, right, bottom}, texts[i],
                                [act, i] { act(static_cast<int>(i)); });
    addView(buttons[i]);
    right = leftmost - kButtonGap;
  }
  choose(0);
}

void ModalBox::choose(int button) {
  chosen = button;
  for (std::size_t i = 0; i < buttons.size(); ++i) {
    buttons[i]->setChosen(static_cast<int>(i) == chosen);
  }
}

void ModalBox::pressChosen() {
  const Held<ModalBox> stays(this);
  if (chosen >= 0 && chosen < buttonCount()) buttons[static_cast<std::size_t>(chosen)]->press();
}

void ModalBox::frameResized() {
  const CRect window = getFrame()->getSize();
  setViewSize({0.0F, 0.0F, window.width(), window.height()});
  setMouseableArea(size);
  const CPoint corner = inMiddle(window, boxPlace.width(), boxPlace.height()).topLeft();
  const CPoint by = corner - boxPlace.topLeft();
  boxPlace = boxPlace.movedBy(by);
  leftmost += by.x;
  for (std::size_t i = 0; i < getViewCount(); ++i) {
    CView& child = *getView(i);
    child.setViewSize(child.getViewSize().movedBy(by));
    child.setMouseableArea(child.getViewSize());
  }
}

void ModalBox::close() {
  const Held<ModalBox> stays(this);
  if (getFrame() != nullptr) getFrame()->popModalView(this);
}

CMouseEventResult ModalBox::onMouseDown(CPoint where, CButtonState buttonState) {
  const Held<ModalBox> stays(this);
  CViewContainer::onMouseDown(where, buttonState);
  return kMouseEventHandled;
}

bool ModalBox::onWheel(CPoint where, float steps, CButtonState buttonState) {
  CViewContainer::onWheel(where, steps, buttonState);
  return true;
}

bool ModalBox::onKeyDown(const KeyEvent& key) {
  const Held<ModalBox> stays(this);
  const int count = buttonCount();
  const bool isBack = key.modifiers.has(kShift);
  switch (key.key) {
    case Key::kReturn:
    case Key::kEnter:
    case Key::kSpace:
      pressChosen();
      break;
    case Key::kTab:
    case Key::kRight:
    case Key::kLeft:
      if (count > 0) choose((chosen + (key.key == Key::kLeft || isBack ? count - 1 : 1)) % count);
      break;
    default:
      break;
  }
  return true;
}
