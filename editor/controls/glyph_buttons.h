#pragma once

#include <string>

#include "editor/controls/marks.h"
#include "editor/controls/with_hover.h"
#include "editor/controls/with_keys.h"
#include "toolkit/buttons.h"
#include "toolkit/push_button.h"

/// A picture that is pressed: `frames` under each other, the second while it is held. Threads, for
/// all of these: as `CView`.
class nKickButton : public CKickButton {
 public:
  using CKickButton::CKickButton;
};

/// An icon of the face, without a ground, that is pressed.
class nTTKickButton : public WithKeys<CKickButton>, public nCanDisable {
 public:
  /// `glyphDrop`: by how much it stands below the middle.
  nTTKickButton(const ControlSetup& setup, std::string glyph, float glyphSize,
                float glyphDrop = 0.0F);

  [[nodiscard]] std::string shownText() const override { return glyph; }
  void draw(CDrawContext& context) override;
  void setDisabled(bool on) override;
  [[nodiscard]] bool isTabStop() const override { return !isDisabled || hasFocus(); }
  CMouseEventResult onMouseDown(CPoint where, CButtonState buttons) override;

 private:
  std::string glyph;
  float drop;
  TextStyle style;
  bool isDisabled = false;
};

/// An area, drawn by what lies under it, that goes to a page: a press sends its number. The keys
/// show as a ring.
class nPageSelect : public WithKeys<CControl> {
 public:
  nPageSelect(const ControlSetup& setup, int page);

  void setValue(float /*plain*/) override {}
  void draw(CDrawContext& context) override;
  CMouseEventResult onMouseDown(CPoint where, CButtonState buttons) override;
  bool onWheel(CPoint where, float steps, CButtonState buttons) override;

 private:
  int page;
};

/// The maker's sign, as a picture.
class nLogo : public nPageSelect {
 public:
  nLogo(const ControlSetup& setup, int page, Held<CBitmap> picture);

  void draw(CDrawContext& context) override;
};

/// The maker's sign, as a word.
class nTTLogo : public nPageSelect {
 public:
  nTTLogo(const ControlSetup& setup, int page);

  void draw(CDrawContext& context) override;

 private:
  TextStyle style;
};

/// The corner that sizes the window. Its value is the width that is wanted, in pixels of the screen
/// without its scale.
class nResizeBox : public CControl {
 public:
  explicit nResizeBox(const ControlSetup& setup);

  void draw(CDrawContext& context) override;
  CMouseEventResult onMouseDown(CPoint where, CButtonState buttons) override;
  CMouseEventResult onMouseMoved(CPoint where, CButtonState buttons) override;
  CMouseEventResult onMouseUp(CPoint where, CButtonState buttons) override;
  void onMouseEntered(CPoint where, CButtonState buttons) override;
  void onMouseExited() override;
  void onMouseCancel() override { isDragged = false; }
  bool onWheel(CPoint where, float steps, CButtonState buttons) override;

 private:
  [[nodiscard]] float screenX(CPoint where) const;

  bool isDragged = false;
  float startX = 0.0F;
  float startWidth = 0.0F;
};

/// A button with a word; `CMovieButton` in all but its look.
class FlatButton : public WithHover<CKickButton>, public nCanDisable {
 public:
  FlatButton(const ControlSetup& setup, std::string text);

  void setText(std::string text);
  [[nodiscard]] std::string shownText() const override { return text; }
  void draw(CDrawContext& context) override;
  void setDisabled(bool on) override;
  CMouseEventResult onMouseDown(CPoint where, CButtonState buttons) override;

 private:
  std::string text;
  PushButtonFace face;
  bool isDisabled = false;
};

/// One of three pictures, the value's; a press goes to the next.
class CMovieButton3 : public CControl {
 public:
  CMovieButton3(const ControlSetup& setup, Held<CBitmap> frames);

  void draw(CDrawContext& context) override;
  CMouseEventResult onMouseDown(CPoint where, CButtonState buttons) override;
  bool onWheel(CPoint where, float steps, CButtonState buttons) override;

 private:
  FilmStrip strip{3};
};
