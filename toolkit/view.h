#pragma once

#include <string>
#include <vector>

#include "platform/window_events.h"
#include "toolkit/base_object.h"
#include "toolkit/bitmap.h"
#include "toolkit/draw_context.h"
#include "toolkit/geometry.h"
#include "toolkit/view_root.h"

class CFrame;
class CViewContainer;

enum CMouseEventResult {
  kMouseEventNotHandled,  ///< goes on to what lies below
  kMouseEventHandled,     ///< a press: moves and the release come to the same view
  kMouseDownEventHandledButDontNeedMovedOrUpEvents,
};

/// A rectangle of the window that draws itself and takes events. Its size, and every point that it
/// is given, stand in the coordinates of the container that holds it. Threads: everything under
/// the frame's lock (`CFrame::treeLock`); `draw` on the thread that draws, all else on the message
/// thread.
class CView : public CBaseObject {
 public:
  explicit CView(const CRect& size);

  /// Draws itself whole, in the coordinates of its container, which has set origin and clip.
  virtual void draw(CDrawContext& context);
  /// Draws what of it lies in `part`.
  virtual void drawRect(CDrawContext& context, const CRect& part);

  /// A value has changed that is to be seen: cheap, and of no effect where nobody sees it.
  virtual void setDirty(bool on = true);
  [[nodiscard]] virtual bool isDirty() const { return dirty; }
  /// Asks for its rectangle to be drawn again.
  void invalid();
  void setVisible(bool on);
  [[nodiscard]] bool isVisible() const noexcept { return visible; }
  /// Whether it and all that holds it can be seen in a window.
  [[nodiscard]] bool isShown() const;

  [[nodiscard]] const CRect& getViewSize() const noexcept { return size; }
  /// `invalidates`: the old and the new place are drawn again.
  virtual void setViewSize(const CRect& rect, bool invalidates = true);
  /// Where the mouse meets it; its size unless it is set.
  [[nodiscard]] const CRect& getMouseableArea() const noexcept { return mouseableArea; }
  virtual void setMouseableArea(const CRect& rect) { mouseableArea = rect; }
  void setMouseEnabled(bool on) noexcept { mouseEnabled = on; }
  [[nodiscard]] bool getMouseEnabled() const noexcept { return mouseEnabled; }
  [[nodiscard]] virtual bool hitTest(CPoint where, CButtonState buttons = {}) const;

  /// It has come into a container, or is about to leave it; `getFrame` is null before and after.
  virtual void attached(CViewContainer& holder);
  virtual void removed();

  virtual CMouseEventResult onMouseDown(CPoint where, CButtonState buttons);
  virtual CMouseEventResult onMouseUp(CPoint where, CButtonState buttons);
  virtual CMouseEventResult onMouseMoved(CPoint where, CButtonState buttons);
  virtual void onMouseEntered(CPoint /*where*/, CButtonState /*buttons*/) {}
  virtual void onMouseExited() {}
  /// What a press began ends without a release: the view goes, or a box comes over it.
  virtual void onMouseCancel() {}
  /// `steps`: notches away from the user, below 0 towards them.
  virtual bool onWheel(CPoint where, float steps, CButtonState buttons);
  virtual bool onKeyDown(const KeyEvent& key);
  virtual bool onKeyUp(const KeyEvent& key);
  virtual void takeFocus() {}
  virtual void looseFocus() {}
  /// Whether it takes files that are dropped at `where`.
  [[nodiscard]] virtual bool acceptsDrop(CPoint /*where*/) { return false; }
  virtual void onDrop(CPoint /*where*/, const std::vector<std::string>& /*paths*/) {}
  /// The frame has another size: for what lies over all other views.
  virtual void frameResized() {}
  /// Called on the message thread about every 10 ms while `CFrame::wantIdle` holds for it.
  virtual void onIdle() {}

  [[nodiscard]] CFrame* getFrame() const noexcept { return ownFrame; }
  [[nodiscard]] CViewContainer* getParentView() const noexcept { return parent; }
  void setBackground(Held<CBitmap> bitmap);
  [[nodiscard]] CBitmap* getBackground() const noexcept { return backgroundBitmap.get(); }
  /// A point of its container as one of the frame, and back.
  [[nodiscard]] CPoint localToFrame(CPoint point) const;
  [[nodiscard]] CRect localToFrame(const CRect& rect) const;
  [[nodiscard]] CPoint frameToLocal(CPoint point) const { return point - localToFrame(CPoint{}); }

 protected:
  ~CView() override;

  /// The frame itself, whose frame it is.
  void becomeRoot(CFrame& frame, ViewRoot& self) noexcept {
    ownFrame = &frame;
    root = &self;
  }
  [[nodiscard]] ViewRoot* getRoot() const noexcept { return root; }

  CRect size;
  CRect mouseableArea;

 private:
  friend class CViewContainer;

  CFrame* ownFrame = nullptr;
  ViewRoot* root = nullptr;  // the same, as its views see it
  CViewContainer* parent = nullptr;
  Held<CBitmap> backgroundBitmap;
  bool dirty = true;
  bool visible = true;
  bool mouseEnabled = true;
};
