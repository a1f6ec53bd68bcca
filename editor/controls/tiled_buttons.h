#pragma once

#include <cstdint>
#include <string>

#include "editor/controls/marks.h"
#include "editor/controls/with_keys.h"
#include "toolkit/buttons.h"
#include "toolkit/device_picture.h"

/// What a button of the title bar is made from: the bitmap that holds its frames, the ground under
/// it, and a word or one icon of the face.
struct TileLook {
  Held<CBitmap> frames;
  Held<CBitmap> ground;
  std::string title;
};

/// What buttons in the title bar look like: frames of 25 pixels under each other, laid side by side
/// over the button's width, on a ground that is laid in the same way; a groove at the left edge;
/// the title in the middle. Threads: as a view's `draw`.
class nTiledButton {
 public:
  enum Frame : int { kRest, kOn, kHovered, kDisabled };

  explicit nTiledButton(TileLook look);

  [[nodiscard]] const std::string& getTitle() const noexcept { return tiles.title; }

 protected:
  /// The ground and one of the frames, with as much of the hovered one as `hover` tells.
  void drawTile(CDrawContext& context, const CRect& rect, Frame frame, float hover) const;
  /// The title in the middle.
  void drawTitle(CDrawContext& context, const CRect& rect, CColor colour);

 private:
  TileLook tiles;
  TextStyle style;
};

/// On or off. `invert`: it stands for the opposite of its value, and shows that by its colour
/// alone. A press of the mouse leaves the keys where they are.
class tiledButton : public ValuePart<COnOffButton>, public nTiledButton {
 public:
  tiledButton(const ControlSetup& setup, TileLook look, bool invert = false);

  [[nodiscard]] std::string shownText() const override { return getTitle(); }
  void draw(CDrawContext& context) override;
  CMouseEventResult onMouseDown(CPoint where, CButtonState buttons) override;

 protected:
  [[nodiscard]] std::optional<float> valueByKey(const KeyEvent& key) override;

 private:
  [[nodiscard]] CColor titleColour(bool lights) const;

  bool isInverted;
  ControlOutline tileOutline;
  IconPicture padlock;
};

/// The stereo mode: on in mid and side.
class tiledMSButton : public tiledButton {
 public:
  tiledMSButton(const ControlSetup& setup, Held<CBitmap> frames);
};

/// Pressed down while it is held.
class tiledKickButton : public WithKeys<CKickButton>, public nTiledButton {
 public:
  tiledKickButton(const ControlSetup& setup, TileLook look);

  [[nodiscard]] std::string shownText() const override { return getTitle(); }
  void draw(CDrawContext& context) override;
  /// Shown as on: what it opens is open.
  void setLit(bool on);

 private:
  bool isLit = false;
};

/// Dim, and deaf, while there is nothing to undo or redo.
class tiledUndoRedoButton : public tiledKickButton, public nCanDisable {
 public:
  using tiledKickButton::tiledKickButton;

  void draw(CDrawContext& context) override;
  void setDisabled(bool on) override;
  [[nodiscard]] bool isTabStop() const override { return !isDisabled; }
  CMouseEventResult onMouseDown(CPoint where, CButtonState buttons) override;

 private:
  bool isDisabled = true;
};
