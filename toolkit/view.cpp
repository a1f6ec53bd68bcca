#include "toolkit/view.h"

#include <utility>

#include "toolkit/frame.h"
#include "toolkit/view_container.h"

CView::CView(const CRect& rect) : size(rect), mouseableArea(rect) {}

CView::~CView() = default;

void CView::draw(CDrawContext& context) {
  if (backgroundBitmap) context.drawBitmap(*backgroundBitmap, size);
  setDirty(false);
}

void CView::drawRect(CDrawContext& context, const CRect& /*part*/) { draw(context); }

void CView::setDirty(bool on) {
  dirty = on;
  if (on && root != nullptr) root->markDirty();
}

void CView::invalid() {
  if (isShown()) root->invalidFrameRect(localToFrame(size));
}

void CView::setVisible(bool on) {
  if (on == visible) return;
  if (!on) invalid();
  visible = on;
  if (on) invalid();
}

bool CView::isShown() const {
  const CView* view = this;
  while (view->visible && view->parent != nullptr) view = view->parent;
  return view->visible && ownFrame != nullptr;
}

void CView::setViewSize(const CRect& rect, bool invalidates) {
  if (rect == size) return;
  if (invalidates) invalid();
  size = rect;
  if (invalidates) invalid();
}

bool CView::hitTest(CPoint where, CButtonState /*buttons*/) const {
  return mouseableArea.contains(where);
}

void CView::attached(CViewContainer& holder) {
  parent = &holder;
  ownFrame = holder.getFrame();
  root = static_cast<CView&>(holder).root;
  dirty = true;
}

void CView::removed() {
  if (root != nullptr) root->viewGone(*this);
  parent = nullptr;
  ownFrame = nullptr;
  root = nullptr;
}

CMouseEventResult CView::onMouseDown(CPoint /*where*/, CButtonState /*buttons*/) {
  return kMouseEventNotHandled;
}

CMouseEventResult CView::onMouseUp(CPoint /*where*/, CButtonState /*buttons*/) {
  return kMouseEventNotHandled;
}

CMouseEventResult CView::onMouseMoved(CPoint /*where*/, CButtonState /*buttons*/) {
  return kMouseEventNotHandled;
}

bool CView::onWheel(CPoint /*where*/, float /*steps*/, CButtonState /*buttons*/) { return false; }

bool CView::onKeyDown(const KeyEvent& /*key*/) { return false; }

bool CView::onKeyUp(const KeyEvent& /*key*/) { return false; }

void CView::setBackground(Held<CBitmap> bitmap) {
  backgroundBitmap = std::move(bitmap);
  setDirty();
}

CPoint CView::localToFrame(CPoint point) const {
  // The frame's own corner is the window's.
  for (const CViewContainer* in = parent; in != nullptr && in->getParentView() != nullptr;
       in = in->getParentView()) {
    point = point + in->getViewSize().topLeft();
  }
  return point;
}

CRect CView::localToFrame(const CRect& rect) const {
  return rect.movedBy(localToFrame(rect.topLeft()) - rect.topLeft());
}
