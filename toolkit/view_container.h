#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "toolkit/view.h"

/// Views in a view: the first child is drawn first and meets the mouse last. What lies outside of
/// the container is not drawn. Threads: as `CView`.
class CViewContainer : public CView {
 public:
  explicit CViewContainer(const CRect& size);

  /// Takes over the count that the maker of `view` has.
  void addView(CView* view);
  /// False where it holds no such child. What the view has begun ends.
  bool removeView(CView* view);
  void removeAll();
  [[nodiscard]] CView* getView(std::size_t index) const noexcept;
  [[nodiscard]] std::size_t getViewCount() const noexcept { return children.size(); }

  void setBackgroundColor(CColor colour);
  [[nodiscard]] CColor getBackgroundColor() const noexcept { return backgroundColor; }
  void setBackgroundOffset(CPoint offset) noexcept { backgroundOffset = offset; }
  /// Draws the ground under the children: colour, then bitmap.
  virtual void drawBackgroundRect(CDrawContext& context, const CRect& part);
  /// Asks for a part, in the coordinates of its children, to be drawn again.
  void invalidRect(const CRect& part);

  void draw(CDrawContext& context) override;
  void drawRect(CDrawContext& context, const CRect& part) override;
  [[nodiscard]] bool isDirty() const override;
  void setDirty(bool on = true) override;
  void attached(CViewContainer& holder) override;
  void removed() override;

  CMouseEventResult onMouseDown(CPoint where, CButtonState buttons) override;
  CMouseEventResult onMouseUp(CPoint where, CButtonState buttons) override;
  CMouseEventResult onMouseMoved(CPoint where, CButtonState buttons) override;
  void onMouseCancel() override;
  bool onWheel(CPoint where, float steps, CButtonState buttons) override;

  /// The innermost view under a point that takes the mouse, null for none but the container.
  [[nodiscard]] virtual CView* viewAt(CPoint where, CButtonState buttons = {}) const;
  /// Adds the places, in the frame, of all dirty views that are shown, and takes them for drawn.
  void collectDirty(std::vector<CRect>& places);

 private:
  [[nodiscard]] CPoint toChild(CPoint where) const { return where - size.topLeft(); }
  [[nodiscard]] bool meets(const CView& child, CPoint where, CButtonState buttons) const;

  std::vector<Held<CView>> children;
  Held<CView> pressed;  // whose press has not been released
  CColor backgroundColor = kTransparentCColor;
  CPoint backgroundOffset;
};
