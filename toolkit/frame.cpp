#include "toolkit/frame.h"

#include <algorithm>
#include <cmath>
#include <string_view>
#include <utility>

namespace {

CRect joined(const CRect& a, const CRect& b) {
  if (a.isEmpty()) return b;
  if (b.isEmpty()) return a;
  return {std::min(a.left, b.left), std::min(a.top, b.top), std::max(a.right, b.right),
          std::max(a.bottom, b.bottom)};
}

}  // namespace

CFrame::CFrame(const CRect& rect, VSTGUIEditorInterface* shownBy, Clock whatTime)
    : CViewContainer(rect), editor(shownBy), clock(std::move(whatTime)) {
  becomeRoot(*this, *this);
}

CFrame::~CFrame() { close(); }

bool CFrame::open(std::uintptr_t parentWindow) {
  system = WindowSystem::connect();
  if (system == nullptr) return false;
  return openWith(system->openChild(parentWindow, devicePixels(size.width(), getScale()),
                                    devicePixels(size.height(), getScale()), *this));
}

bool CFrame::openTop(const std::string& title) {
  system = WindowSystem::connect();
  if (system == nullptr) return false;
  return openWith(system->openTop(title, devicePixels(size.width(), getScale()),
                                  devicePixels(size.height(), getScale()), *this));
}

bool CFrame::openWith(std::unique_ptr<NativeWindow> made) {
  if (made == nullptr) {
    system.reset();
    return false;
  }
  const std::lock_guard guard(lock);
  native = std::move(made);
  opened = true;
  windowHeight = devicePixels(size.height(), getScale());
  setDeviceScale(static_cast<float>(native->scale()));
  windowOpened();
  return true;
}

void CFrame::openOffScreen(float deviceScale) {
  opened = true;
  setDeviceScale(deviceScale);
}

void CFrame::close() {
  windowCloses();
  const std::lock_guard guard(lock);
  opened = false;
  while (!modalViews.empty()) popModalView(modalViews.back().get());
  setFocusView(nullptr);
  removeAll();
  idleViews.clear();
  pressedBy = {};
  cursor = Cursor::kArrow;  // of the next window
  native.reset();
  system.reset();
}

void CFrame::setSize(float width, float height) {
  size.right = size.left + width;
  size.bottom = size.top + height;
  setMouseableArea(size);
  resizeWindow();
  const std::vector<Held<CView>> told = modalViews;
  for (const Held<CView>& modal : told) modal->frameResized();
}

void CFrame::setZoom(float zoom) {
  if (!(zoom > 0.0F)) return;
  userScale = zoom;
  resizeWindow();
}

void CFrame::setDeviceScale(float scale) {
  dpiScale = std::max(1.0F, scale);
  resizeWindow();
}

void CFrame::resizeWindow() {
  inverseScale = 1.0F / getScale();
  if (native != nullptr) {
    native->resize(devicePixels(size.width(), getScale()), devicePixels(size.height(), getScale()));
  }
  windowResized();
  setDirty();
}

void CFrame::setFocusView(CView* view) {
  if (view == focusView.get()) return;
  const Held<CView> before = std::exchange(focusView, Held<CView>(view));
  if (before) before->looseFocus();
  if (focusView.get() != view) return;  // the one that lost it chose another
  if (view != nullptr) view->takeFocus();
  if (native == nullptr) return;
  if (view != nullptr) {
    native->takeFocus();
  } else {
    native->giveFocusBack();
  }
}

void CFrame::pushModalView(CView* view) {
  onMouseCancel();
  if (const Held<CView> under(getModalView()); under) under->onMouseCancel();
  modalViews.emplace_back(view);
  view->attached(*this);
  view->invalid();
  if (native != nullptr) native->takeFocus();
  findHovered(mouseButtons);
}

void CFrame::popModalView(CView* view) {
  const auto found = std::ranges::find(modalViews, view, &Held<CView>::get);
  if (found == modalViews.end()) return;
  const Held<CView> leaving = *found;
  leaving->invalid();
  leaving->removed();
  std::erase_if(modalViews, [view](const Held<CView>& modal) { return modal.get() == view; });
  if (native != nullptr && modalViews.empty() && !focusView) native->giveFocusBack();
  if (opened) findHovered(mouseButtons);
}

void CFrame::setModalView(CView* view) {
  if (view != nullptr) {
    pushModalView(view);
  } else if (!modalViews.empty()) {
    popModalView(modalViews.back().get());
  }
}

CView* CFrame::getModalView() const noexcept {
  return modalViews.empty() ? nullptr : modalViews.back().get();
}

std::vector<CView*> CFrame::getModalViews() const {
  std::vector<CView*> views;
  for (const Held<CView>& modal : modalViews) views.push_back(modal.get());
  return views;
}

void CFrame::idle() {
  const Held<CFrame> stays(this);
  if (const std::shared_ptr<WindowSystem> pumped = system) pumped->pump();
  const std::lock_guard guard(lock);
  if (!opened) return;
  if (editor != nullptr) editor->doIdleStuff();
  const std::vector<Held<CView>> called = idleViews;
  for (const Held<CView>& view : called) {
    if (view->getFrame() == this) view->onIdle();
  }
}

void CFrame::wantIdle(CView& view, bool on) {
  std::erase_if(idleViews, [&view](const Held<CView>& held) { return held.get() == &view; });
  if (on) idleViews.emplace_back(&view);
}

void CFrame::setCursor(Cursor shape) {
  if (shape == std::exchange(cursor, shape) || native == nullptr) return;
  native->setCursor(shape);
}

void CFrame::warpMouse(CPoint where) {
  mouse = where;
  if (native == nullptr) return;
  const auto scale = static_cast<double>(getScale());
  native->warpPointer({static_cast<double>(where.x) * scale, static_cast<double>(where.y) * scale});
}

void CFrame::putClipboard(Clipboard which, std::string text) {
  if (native != nullptr) {
    native->putClipboard(which, std::move(text));
  } else {
    ownClipboards.at(static_cast<std::size_t>(which)) = std::move(text);
  }
}

void CFrame::askClipboard(Clipboard which, CView& asker,
                          std::function<void(std::string_view)> take) {
  // An answer tells not which one it is of.
  if (takeClipboard && which != askedClipboard) return;
  askedClipboard = which;
  clipboardAsker = Held<CView>(&asker);
  takeClipboard = std::move(take);
  if (native != nullptr) {
    native->askClipboard(which);
  } else {
    clipboardText(std::string(ownClipboards.at(static_cast<std::size_t>(which))));
  }
}

bool CFrame::onKeyDown(const KeyEvent& key) {
  const std::lock_guard guard(lock);
  if (const Held<CView> modal(getModalView()); modal) return modal->onKeyDown(key);
  const Held<CView> focused = focusView;
  if (focused && focused->isShown() && focused->onKeyDown(key)) return true;
  return editor != nullptr && editor->frameKeyDown(key);
}

bool CFrame::onKeyUp(const KeyEvent& key) {
  const std::lock_guard guard(lock);
  if (const Held<CView> modal(getModalView()); modal) return modal->onKeyUp(key);
  const Held<CView> focused = focusView;
  return focused && focused->isShown() && focused->onKeyUp(key);
}

bool CFrame::acceptsDrop(CPoint where) { return editor != nullptr && editor->acceptsFiles(where); }

void CFrame::onDrop(CPoint where, const std::vector<std::string>& paths) {
  if (editor != nullptr) editor->filesDropped(where, paths);
}

void CFrame::invalidFrameRect(const CRect& part) {
  damage = joined(damage, part.cutTo({0.0F, 0.0F, size.width(), size.height()}));
  markDirty();
}

CRect CFrame::takeDamage() {
  if (!changed.exchange(false, std::memory_order_relaxed)) return {};
  std::vector<CRect>& places = dirtyPlaces;
  places.clear();
  collectDirty(places);
  for (const Held<CView>& modal : modalViews) {
    if (modal->isDirty()) places.push_back(modal->getViewSize());
    modal->setDirty(false);
  }
  for (const CRect& place : places) damage = joined(damage, place);
  return std::exchange(damage, {}).cutTo({0.0F, 0.0F, size.width(), size.height()});
}

void CFrame::drawFrame(CDrawContext& context, const CRect& part) {
  const auto drawWhole = [&](CView& view) {
    context.setOffset({0.0F, 0.0F});
    context.setClipRect({0.0F, 0.0F, size.width(), size.height()});
    view.drawRect(context, part);
  };
  drawWhole(*this);
  for (const Held<CView>& modal : modalViews) {
    if (modal->isVisible()) drawWhole(*modal);
  }
}

void CFrame::viewGone(CView& view) {
  if (focusView.get() == &view) setFocusView(nullptr);
  if (hovered.get() == &view) {
    hovered = {};
    view.onMouseExited();
  }
  if (clipboardAsker.get() == &view) {
    clipboardAsker = {};
    takeClipboard = nullptr;
  }
  wantIdle(view, false);
}

CMessageResult CFrame::notify(CBaseObject* sender, const char* message) {
  if (message == std::string_view(kMsgCheckIfViewContainer)) return kMessageNotified;
  if (message == std::string_view(kMsgLooseFocus)) {
    endText();
    return kMessageNotified;
  }
  return CViewContainer::notify(sender, message);
}

void CFrame::endText() {
  setFocusView(nullptr);
  if (editor != nullptr) editor->frameCallback(kFrameLooseFocus, nullptr);
}

void CFrame::windowExposed(const DeviceRect& part) {
  invalidFrameRect({static_cast<float>(part.left) * inverseScale,
                    static_cast<float>(part.top) * inverseScale,
                    static_cast<float>(part.right) * inverseScale,
                    static_cast<float>(part.bottom) * inverseScale});
}

CPoint CFrame::fromDevice(DevicePoint where) const noexcept {
  return {static_cast<float>(where.x) * inverseScale, static_cast<float>(where.y) * inverseScale};
}

void CFrame::findHovered(CButtonState buttons) {
  CView* under = getModalView();
  if (auto* const box = dynamic_cast<CViewContainer*>(under)) {
    if (CView* const inner = box->viewAt(mouse, buttons)) under = inner;
  } else if (under == nullptr) {
    under = viewAt(mouse, buttons);
  }
  if (under == hovered.get()) return;
  const Held<CView> left = std::exchange(hovered, Held<CView>(under));
  if (left && left->getFrame() == this) left->onMouseExited();
  if (under != nullptr && hovered.get() == under) {
    under->onMouseEntered(under->frameToLocal(mouse), buttons);
  }
  if (editor != nullptr) editor->mouseOver(hovered.get());
}

bool CFrame::isFurther(CButton button, CButtonState buttons) const noexcept {
  // A press ends without its release, too, where that is never told.
  return pressedBy.all() != 0 && pressedBy != button && buttons.has(pressedBy.all());
}

void CFrame::mouseDown(DevicePoint where, CButton changedButton, CButtonState buttons) {
  const Held<CFrame> stays(this);
  const std::lock_guard guard(lock);
  mouse = fromDevice(where);
  mouseButtons = buttons;
  if (isFurther(changedButton, buttons)) return;
  pressedBy = changedButton;
  if (focusView && getModalView() == nullptr && viewAt(mouse, buttons) != focusView.get()) {
    notify(this, kMsgLooseFocus);
    if (getModalView() != nullptr) return;  // what has been written is asked about
  }
  const Held<CView> modal(getModalView());
  CView& asked = modal ? *modal : *this;
  asked.onMouseDown(mouse, buttons);
  // What has come over it takes the release.
  if (getModalView() != modal.get()) asked.onMouseCancel();
}

void CFrame::mouseUp(DevicePoint where, CButton releasedButton, CButtonState buttons) {
  const Held<CFrame> stays(this);
  const std::lock_guard guard(lock);
  mouse = fromDevice(where);
  mouseButtons = buttons;
  if (isFurther(releasedButton, buttons)) return;
  pressedBy = {};
  const CButtonState released(releasedButton | buttons.modifiers());
  if (const Held<CView> modal(getModalView()); modal) {
    modal->onMouseUp(mouse, released);
  } else {
    onMouseUp(mouse, released);
  }
  if (opened) findHovered(buttons);
}

void CFrame::mouseMoved(DevicePoint where, CButtonState buttons) {
  const Held<CFrame> stays(this);
  const std::lock_guard guard(lock);
  mouse = fromDevice(where);
  mouseButtons = buttons;
  if (buttons.buttons() == 0) findHovered(buttons);
  if (const Held<CView> modal(getModalView()); modal) {
    modal->onMouseMoved(mouse, buttons);
  } else {
    onMouseMoved(mouse, buttons);
  }
}

void CFrame::mouseLeft() {
  const Held<CFrame> stays(this);
  const std::lock_guard guard(lock);
  mouse = {-1.0F, -1.0F};
  if (const Held<CView> left = std::exchange(hovered, {})) left->onMouseExited();
}

void CFrame::wheel(DevicePoint where, float steps, CButtonState buttons) {
  const Held<CFrame> stays(this);
  const std::lock_guard guard(lock);
  mouse = fromDevice(where);
  if (const Held<CView> modal(getModalView()); modal) {
    modal->onWheel(mouse, steps, buttons);
  } else {
    onWheel(mouse, steps, buttons);
  }
}

bool CFrame::keyDown(const KeyEvent& key) {
  const Held<CFrame> stays(this);
  return onKeyDown(key);
}

bool CFrame::keyUp(const KeyEvent& key) {
  const Held<CFrame> stays(this);
  return onKeyUp(key);
}

void CFrame::focusChanged(bool has) {
  const Held<CFrame> stays(this);
  const std::lock_guard guard(lock);
  if (!has && focusView) notify(this, kMsgLooseFocus);
}

void CFrame::resized(int /*width*/, int height) {
  const std::lock_guard guard(lock);
  windowHeight = height;
  windowResized();
  setDirty();
}

void CFrame::scaleChanged(double scale) {
  const Held<CFrame> stays(this);
  const std::lock_guard guard(lock);
  setDeviceScale(static_cast<float>(scale));
}

void CFrame::exposed(const DeviceRect& part) {
  const std::lock_guard guard(lock);
  windowExposed(part);
}

void CFrame::closeAsked() {
  const Held<CFrame> stays(this);
  if (editor != nullptr) editor->frameCallback(kFrameCloseAsked, nullptr);
}

void CFrame::destroyed() {
  const Held<CFrame> stays(this);
  if (editor != nullptr) editor->frameCallback(kFrameDestroyed, nullptr);
}

bool CFrame::dropMoved(DevicePoint where) {
  const std::lock_guard guard(lock);
  if (getModalView() != nullptr) return false;
  const CPoint point = fromDevice(where);
  CView* const under = viewAt(point);
  return acceptsDrop(point) || (under != nullptr && under->acceptsDrop(under->frameToLocal(point)));
}

void CFrame::dropLeft() {}

void CFrame::filesDropped(DevicePoint where, const std::vector<std::string>& paths) {
  const Held<CFrame> stays(this);
  const std::lock_guard guard(lock);
  if (getModalView() != nullptr) return;  // it came meanwhile
  const CPoint point = fromDevice(where);
  const Held<CView> under(viewAt(point));
  if (under && under->acceptsDrop(under->frameToLocal(point))) {
    under->onDrop(under->frameToLocal(point), paths);
  } else {
    onDrop(point, paths);
  }
}

void CFrame::clipboardText(std::string_view text) {
  const Held<CFrame> stays(this);
  const std::lock_guard guard(lock);
  const Held<CView> asker = std::exchange(clipboardAsker, {});
  if (const auto take = std::exchange(takeClipboard, nullptr); take && asker) take(text);
}
