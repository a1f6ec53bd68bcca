#pragma once

#include <functional>

#include "toolkit/control.h"
#include "toolkit/device_picture.h"
#include "toolkit/text_edit.h"
#include "toolkit/view_container.h"

/// A square of saturation and brightness and a strip of hues: the mouse or the arrows choose a
/// colour, Page Up and Down the hue. The value is 0xRRGGBB. Threads, for all of these: as `CView`.
class nColourPicker : public CControl {
 public:
  explicit nColourPicker(const ControlSetup& setup);

  /// 0xRRGGBB; greys keep the hue that was chosen last.
  void setValue(float plain) override;
  void draw(CDrawContext& context) override;
  CMouseEventResult onMouseDown(CPoint where, CButtonState buttons) override;
  CMouseEventResult onMouseMoved(CPoint where, CButtonState buttons) override;
  CMouseEventResult onMouseUp(CPoint where, CButtonState buttons) override;
  void onMouseCancel() override { held = Grip::kNothing; }
  bool onWheel(CPoint where, float steps, CButtonState buttons) override;
  bool onKeyDown(const KeyEvent& key) override;

 private:
  enum class Grip { kNothing, kSquare, kStrip };

  [[nodiscard]] CRect square() const;
  [[nodiscard]] CRect strip() const;
  void choose(float wantedHue, float wantedSaturation, float wantedBrightness);

  Grip held = Grip::kNothing;
  float hue = 0.0F;  // 0 to 1, as the others
  float saturation = 0.0F;
  float brightness = 0.0F;
};

/// A colour as "#RRGGBB", to be written. The value is 0xRRGGBB; what is no colour changes nothing.
class nColourPickerText : public CTextEdit {
 public:
  explicit nColourPickerText(const ControlSetup& setup);

  void setValue(float plain) override;

 protected:
  void takeText(const std::string& utf8) override;
};

/// An area that closes what lies over it: a press anywhere sends 0.
class nPickerCloser : public CControl {
 public:
  using CControl::CControl;

  void draw(CDrawContext& context) override;
  CMouseEventResult onMouseDown(CPoint where, CButtonState buttons) override;
  bool onWheel(CPoint where, float steps, CButtonState buttons) override;
};

/// The three, floating over a frame until a press elsewhere, Escape or Return.
class ColourPanel : public CViewContainer, public CControlListener {
 public:
  /// A colour has been chosen, 0xRRGGBB; often, while the mouse is dragged. May remove the panel.
  using Chosen = std::function<void(std::uint32_t colour)>;

  /// `beside`: a place in the frame that stays free.
  static void open(CFrame& frame, const CRect& beside, std::uint32_t colour, Chosen chosen);

  void drawBackgroundRect(CDrawContext& context, const CRect& part) override;
  bool onKeyDown(const KeyEvent& key) override;
  void onIdle() override;
  void valueChanged(CControl& control) override;

 private:
  ColourPanel(const CRect& window, const CRect& place, std::uint32_t colour, Chosen chosen);
  void close();

  CRect box;
  BoxPicture ground;
  nColourPicker* picker;  // a child, as is the next
  nColourPickerText* text;
  Chosen told;
  bool wasWriting = false;
};
