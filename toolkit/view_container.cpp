#include "toolkit/view_container.h"

#include <algorithm>
#include <utility>

#include "toolkit/frame.h"

CViewContainer::CViewContainer(const CRect& rect) : CView(rect) {}

void CViewContainer::addView(CView* view) {
  if (view == nullptr) return;
  children.push_back(Held<CView>::adopt(view));
  view->attached(*this);
  view->invalid();
}

bool CViewContainer::removeView(CView* view) {
  const auto found = std::ranges::find(children, view, &Held<CView>::get);
  if (found == children.end()) return false;
  const Held<CView> leaving = *found;  // lives to the end of this call
  leaving->invalid();
  if (pressed.get() == view) {
    pressed = {};
    leaving->onMouseCancel();
  }
  leaving->removed();
  std::erase_if(children, [view](const Held<CView>& child) { return child.get() == view; });
  return true;
}

void CViewContainer::removeAll() {
  while (!children.empty()) removeView(children.back().get());
}

CView* CViewContainer::getView(std::size_t index) const noexcept {
  return index < children.size() ? children[index].get() : nullptr;
}

void CViewContainer::setBackgroundColor(CColor colour) {
  backgroundColor = colour;
  invalid();
}

void CViewContainer::drawBackgroundRect(CDrawContext& context, const CRect& part) {
  if (backgroundColor.alpha != 0) context.fillRect(part, backgroundColor);
  const CRect whole{0.0F, 0.0F, size.width(), size.height()};
  if (getBackground() != nullptr) {
    context.drawBitmap(*getBackground(), whole, backgroundOffset);
  }
}

void CViewContainer::invalidRect(const CRect& part) {
  if (!isShown()) return;
  const CRect own = part.movedBy(size.topLeft()).cutTo(size);
  if (!own.isEmpty()) getRoot()->invalidFrameRect(localToFrame(own));
}

void CViewContainer::draw(CDrawContext& context) { drawRect(context, size); }

void CViewContainer::drawRect(CDrawContext& context, const CRect& part) {
  const CPoint origin = context.getOffset();
  const CRect outer = context.getClipRect();
  const CRect seen = part.cutTo(size).cutTo(outer).movedBy(-size.left, -size.top);
  if (seen.isEmpty()) return;
  context.setOffset(origin + size.topLeft());
  // The part asked for is no clip: a figure that reaches beyond a clip is not drawn at all.
  context.setClipRect(size.cutTo(outer).movedBy(-size.left, -size.top));
  drawBackgroundRect(context, seen);
  for (const Held<CView>& child : children) {
    const CRect there = child->getViewSize().cutTo(seen);
    if (child->isVisible() && !there.isEmpty()) child->drawRect(context, there);
  }
  context.setOffset(origin);
  context.setClipRect(outer);
  CView::setDirty(false);
}

bool CViewContainer::isDirty() const {
  return CView::isDirty() || std::ranges::any_of(children, [](const Held<CView>& child) {
           return child->isVisible() && child->isDirty();
         });
}

void CViewContainer::setDirty(bool on) {
  CView::setDirty(on);
  for (const Held<CView>& child : children) child->setDirty(on);
}

void CViewContainer::attached(CViewContainer& holder) {
  CView::attached(holder);
  for (const Held<CView>& child : children) child->attached(*this);
}

void CViewContainer::removed() {
  if (pressed) std::exchange(pressed, {})->onMouseCancel();
  const std::vector<Held<CView>> leaving = children;  // an end of an edit may change them
  for (const Held<CView>& child : leaving) child->removed();
  CView::removed();
}

bool CViewContainer::meets(const CView& child, CPoint where, CButtonState buttons) const {
  return child.isVisible() && child.getMouseEnabled() && child.hitTest(where, buttons);
}

CMouseEventResult CViewContainer::onMouseDown(CPoint where, CButtonState buttons) {
  CViewContainer::onMouseCancel();  // a press whose release was never told
  const CPoint inside = toChild(where);
  const std::vector<Held<CView>> asked(children.rbegin(), children.rend());
  for (const Held<CView>& child : asked) {
    if (child->getParentView() != this || !meets(*child, inside, buttons)) continue;
    const CMouseEventResult result = child->onMouseDown(inside, buttons);
    if (result == kMouseEventNotHandled) continue;
    if (result == kMouseEventHandled && child->getParentView() == this) pressed = child;
    return result;
  }
  return kMouseEventNotHandled;
}

CMouseEventResult CViewContainer::onMouseUp(CPoint where, CButtonState buttons) {
  const Held<CView> released = std::exchange(pressed, {});
  return released ? released->onMouseUp(toChild(where), buttons) : kMouseEventNotHandled;
}

CMouseEventResult CViewContainer::onMouseMoved(CPoint where, CButtonState buttons) {
  const CPoint inside = toChild(where);
  if (const Held<CView> drags = pressed) return drags->onMouseMoved(inside, buttons);
  // A drag that began elsewhere, or on what has gone since, is none of the views it comes over.
  if (buttons.buttons() != 0) return kMouseEventNotHandled;
  const std::vector<Held<CView>> asked(children.rbegin(), children.rend());
  for (const Held<CView>& child : asked) {
    if (child->getParentView() != this || !meets(*child, inside, buttons)) continue;
    const CMouseEventResult result = child->onMouseMoved(inside, buttons);
    if (result != kMouseEventNotHandled) return result;
  }
  return kMouseEventNotHandled;
}

void CViewContainer::onMouseCancel() {
  if (pressed) std::exchange(pressed, {})->onMouseCancel();
}

bool CViewContainer::onWheel(CPoint where, float steps, CButtonState buttons) {
  const CPoint inside = toChild(where);
  const std::vector<Held<CView>> asked(children.rbegin(), children.rend());
  return std::ranges::any_of(asked, [&](const Held<CView>& child) {
    return child->getParentView() == this && meets(*child, inside, buttons) &&
           child->onWheel(inside, steps, buttons);
  });
}

CView* CViewContainer::viewAt(CPoint where, CButtonState buttons) const {
  const CPoint inside = toChild(where);
  for (auto child = children.rbegin(); child != children.rend(); ++child) {
    if (!meets(**child, inside, buttons)) continue;
    const auto* const container = dynamic_cast<const CViewContainer*>(child->get());
    if (container == nullptr) return child->get();
    if (CView* const inner = container->viewAt(inside, buttons)) return inner;
  }
  return nullptr;
}

void CViewContainer::collectDirty(std::vector<CRect>& places) {
  for (const Held<CView>& child : children) {
    if (!child->isVisible()) continue;
    if (auto* const container = dynamic_cast<CViewContainer*>(child.get())) {
      container->collectDirty(places);
    } else if (child->isDirty()) {
      places.push_back(child->localToFrame(child->getViewSize()));
      child->setDirty(false);
    }
  }
  if (CView::isDirty()) {
    places.push_back(localToFrame(size));
    CView::setDirty(false);
  }
}
