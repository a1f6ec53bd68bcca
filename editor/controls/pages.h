#pragma once

#include <cstdint>
#include <memory>
#include <utility>

#include "editor/controls/page_ground.h"
#include "toolkit/control.h"
#include "toolkit/view_container.h"

/// The switch of a container that is not there while it is hidden.
class iCGinterface {
 public:
  virtual ~iCGinterface() = default;

  virtual void setHidden(bool on) = 0;
  [[nodiscard]] virtual bool isHidden() const = 0;
};

/// The face of a control on a container: it is found by its tag and takes values like one.
class iControl {
 public:
  virtual ~iControl() = default;

  [[nodiscard]] virtual std::int32_t getControlTag() const = 0;
  [[nodiscard]] virtual float getControlValue() const = 0;
  virtual void setControlValue(float plain) = 0;
  [[nodiscard]] virtual CView& asView() = 0;
};

/// Threads, for all of these: as `CView`.
class CGViewContainer : public CViewContainer, public iCGinterface {
 public:
  using CViewContainer::CViewContainer;

  void setHidden(bool on) override { setVisible(!on); }
  [[nodiscard]] bool isHidden() const override { return !isVisible(); }
  [[nodiscard]] bool hitTest(CPoint where, CButtonState buttons = {}) const override;
  /// Where the mouse meets it goes along, unless that is a place of its own.
  void setViewSize(const CRect& rect, bool invalidates = true) override;
};

/// A container that is there when its tag has one value, the number of the page.
class nPage : public CGViewContainer, public iControl {
 public:
  nPage(const CRect& size, std::int32_t tag, int pagenumber);

  [[nodiscard]] int getPageNumber() const noexcept { return pagenumber; }
  [[nodiscard]] std::int32_t getControlTag() const override { return tag; }
  [[nodiscard]] float getControlValue() const override { return value; }
  void setControlValue(float plain) override;
  [[nodiscard]] CView& asView() override { return *this; }
  /// Drawn in place of its background but at scale 1; null for none.
  void setGround(std::unique_ptr<PageGround> drawn) { ground = std::move(drawn); }
  void drawBackgroundRect(CDrawContext& context, const CRect& part) override;

 private:
  std::int32_t tag;
  int pagenumber;
  float value = 0.0F;
  std::unique_ptr<PageGround> ground;
};

/// Its first child is always as large as the page.
class nPageR : public nPage {
 public:
  using nPage::nPage;

  void setViewSize(const CRect& rect, bool invalidates = true) override;
};

/// A page of controls that share its tag: what it is given, those of them that have no tag of their
/// own are given, too.
class bandGroup : public nPage {
 public:
  using nPage::nPage;

  void setControlValue(float plain) override;
};

/// A page that is moved by its ground, within the window.
class nDraggablePageTiled : public nPage {
 public:
  using nPage::nPage;

  CMouseEventResult onMouseDown(CPoint where, CButtonState buttons) override;
  CMouseEventResult onMouseMoved(CPoint where, CButtonState buttons) override;
  CMouseEventResult onMouseUp(CPoint where, CButtonState buttons) override;
  void onMouseCancel() override;

 private:
  bool isDragged = false;
  CPoint grab;  // from its corner to where it was taken
};

/// What stands for a container among the controls: forwards to its `iControl`.
class iControlWrapper : public CControl {
 public:
  explicit iControlWrapper(iControl& wrapped);

  void setValue(float plain) override;
  void setViewSize(const CRect& rect, bool invalidates = true) override;
  void setMouseableArea(const CRect& rect) override;
  void setDirty(bool on = true) override;
  [[nodiscard]] iControl& wrapped() noexcept { return control; }

 private:
  iControl& control;
};
