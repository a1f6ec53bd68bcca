#include "editor/controls/pages.h"

#include <algorithm>

#include "toolkit/frame.h"

bool CGViewContainer::hitTest(CPoint where, CButtonState buttons) const {
  return !isHidden() && CViewContainer::hitTest(where, buttons);
}

void CGViewContainer::setViewSize(const CRect& rect, bool invalidates) {
  const bool isWhole = getMouseableArea() == size;
  CViewContainer::setViewSize(rect, invalidates);
  if (isWhole) setMouseableArea(rect);
}

nPage::nPage(const CRect& rect, std::int32_t number, int page)
    : CGViewContainer(rect), tag(number), pagenumber(page) {
  setControlValue(0.0F);
}

void nPage::setControlValue(float plain) {
  value = plain;
  setHidden(plain != static_cast<float>(pagenumber));
}

void nPage::drawBackgroundRect(CDrawContext& context, const CRect& part) {
  if (ground == nullptr || context.getScale() == 1.0F) {
    CGViewContainer::drawBackgroundRect(context, part);
  } else {
    ground->draw(context, {0.0F, 0.0F, size.width(), size.height()});
  }
}

void nPageR::setViewSize(const CRect& rect, bool invalidates) {
  nPage::setViewSize(rect, invalidates);
  if (CView* const child = getView(0)) {
    const CRect whole{0.0F, 0.0F, rect.width(), rect.height()};
    child->setViewSize(whole, invalidates);
    child->setMouseableArea(whole);
  }
}

void bandGroup::setControlValue(float plain) {
  nPage::setControlValue(plain);
  for (std::size_t i = 0; i < getViewCount(); ++i) {
    auto* const control = dynamic_cast<CControl*>(getView(i));
    if (control == nullptr || control->getTag() >= 0) continue;
    control->setValue(plain);
    control->setDirty();
  }
}

CMouseEventResult nDraggablePageTiled::onMouseDown(CPoint where, CButtonState buttons) {
  const CMouseEventResult taken = nPage::onMouseDown(where, buttons);
  if (taken != kMouseEventNotHandled || !buttons.isLeft()) return taken;
  isDragged = true;
  grab = where - getViewSize().topLeft();
  return kMouseEventHandled;
}

CMouseEventResult nDraggablePageTiled::onMouseMoved(CPoint where, CButtonState buttons) {
  if (!isDragged) return nPage::onMouseMoved(where, buttons);
  const CRect& own = getViewSize();
  const CRect room = getParentView()->getViewSize();
  const CPoint corner = where - grab;
  const float left = std::clamp(corner.x, 0.0F, std::max(0.0F, room.width() - own.width()));
  const float top = std::clamp(corner.y, 0.0F, std::max(0.0F, room.height() - own.height()));
  setViewSize({left, top, left + own.width(), top + own.height()});
  return kMouseEventHandled;
}

CMouseEventResult nDraggablePageTiled::onMouseUp(CPoint where, CButtonState buttons) {
  if (!isDragged) return nPage::onMouseUp(where, buttons);
  isDragged = false;
  return kMouseEventHandled;
}

void nDraggablePageTiled::onMouseCancel() {
  isDragged = false;
  nPage::onMouseCancel();
}

iControlWrapper::iControlWrapper(iControl& stoodFor)
    : CControl({stoodFor.asView().getViewSize(), nullptr, stoodFor.getControlTag()}),
      control(stoodFor) {}

void iControlWrapper::setValue(float plain) {
  CControl::setValue(plain);
  control.setControlValue(plain);
}

void iControlWrapper::setViewSize(const CRect& rect, bool invalidates) {
  CControl::setViewSize(rect, invalidates);
  control.asView().setViewSize(rect, invalidates);
}

void iControlWrapper::setMouseableArea(const CRect& rect) {
  CControl::setMouseableArea(rect);
  control.asView().setMouseableArea(rect);
}

void iControlWrapper::setDirty(bool on) { control.asView().setDirty(on); }
