#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "editor/controls/hidden_mouse.h"
#include "editor/controls/value_part.h"
#include "toolkit/slider.h"

/// How a fader is built.
struct FaderOptions {
  CSlider::Style style = CSlider::Style::kHorizontal;
  std::string detents{};  ///< fractions of the way, separated by commas
  float dragFactor =
      0.0F;  ///< a drag of 100 pixels times this goes all the way; 0: with the handle
  bool altAtDetents = true;  ///< the wheel goes from detent to detent with Alt, otherwise without
};

/// The numbers of a list; nothing between two commas is none.
[[nodiscard]] std::vector<float> detentsOf(std::string_view list);

/// How a rail looks: lit from one place to another, in pixels of its way.
struct RailLook {
  bool isVertical = false;
  CColor colour;
  float alpha = 1.0F;
  float litFrom = 0.0F;
  float litTo = 0.0F;
  std::vector<float> detents{};

  bool operator==(const RailLook&) const = default;
};

/// A dotted line with marks at detents; its rectangle is one pixel across.
class RailPicture : private DevicePicture {
 public:
  void draw(CDrawContext& context, const CRect& rail, const RailLook& look);

 private:
  void paint(float scale) const;

  RailLook painted;
};

/// A fader of a parameter. A press moves nothing by itself; a double click jumps to where it is;
/// with Control to the default; with Shift a tenth. Threads, for all of these: as `CView`.
class nFader : public ValuePart<CSlider>, public nControlMouse {
 public:
  nFader(const ControlSetup& setup, ValueSource& values, const FaderOptions& options,
         Held<CBitmap> picture = {});

  [[nodiscard]] const std::vector<float>& getDetents() const noexcept { return detents; }
  void draw(CDrawContext& context) override;
  CMouseEventResult onMouseDown(CPoint where, CButtonState buttons) override;
  CMouseEventResult onMouseMoved(CPoint where, CButtonState buttons) override;
  CMouseEventResult onMouseUp(CPoint where, CButtonState buttons) override;
  void onMouseCancel() override;
  bool onWheel(CPoint where, float steps, CButtonState buttons) override;

 protected:
  [[nodiscard]] std::optional<float> valueByKey(const KeyEvent& key) override;
  /// From 0 to 1.
  [[nodiscard]] float place() const;
  [[nodiscard]] float placeAt(CPoint where) const;
  /// In pixels: all of the way, and of the handle along it.
  [[nodiscard]] virtual float railLength() const;
  [[nodiscard]] virtual float handleSize() const { return 2.0F; }
  [[nodiscard]] ValueSource& getValues() const noexcept { return values; }
  /// From the beginning of the way.
  [[nodiscard]] virtual float along(CPoint where) const;
  /// Of what is about to be dragged, and of its default.
  [[nodiscard]] virtual float presentPlace() const { return place(); }
  [[nodiscard]] virtual float defaultPlace() const { return values.defaultOf(getTag()); }
  /// The user has moved it there, 0 to 1, within an act that these begin and end.
  virtual void moveTo(float place);
  virtual void startGesture() { beginEdit(); }
  virtual void endGesture() { endEdit(); }

 private:
  [[nodiscard]] float atDetent(float steps) const;
  void endDrag();

  ValueSource& values;
  std::vector<float> detents;
  float dragFactor;
  bool altAtDetents;
  WheelNotches notches;
  float lastAt = 0.0F;
  float dragPlace = 0.0F;  // of the drag, also between the values of a stepped parameter
  bool pressed = false;
};

/// The same lying.
class nFaderH : public nFader {
 public:
  nFaderH(const ControlSetup& setup, ValueSource& values, Held<CBitmap> picture = {});
};

/// A dotted line, lit up to the handle.
class LineFader : public nFader {
 public:
  using nFader::nFader;

  void draw(CDrawContext& context) override;
  /// A mark at a place from 0 to 1, where the handle stands for 0; below 0 for none.
  void setZeroMark(float place);
  /// A bar below the rail on the same scale, from 0 to 1; below 0 for none. Beyond the handle it is
  /// that of a reduction.
  void setLevel(float place);

 private:
  void drawMarks(CDrawContext& context, const CRect& line);
  [[nodiscard]] CRect railRect() const;

  float zeroMark = -1.0F;
  float level = -1.0F;
  RailPicture rail;
};

/// A `LineFader` of any length, whose handle follows the mouse.
class SLineFader : public LineFader {
 public:
  SLineFader(const ControlSetup& setup, ValueSource& values, FaderOptions options);
};

/// Two ends of a range on one line, each with its text: the control's own value is the lower end,
/// `upperTag` names the other.
class CaliperSlider : public nFader {
 public:
  CaliperSlider(const ControlSetup& setup, ValueSource& values, std::int32_t upperTag);

  void draw(CDrawContext& context) override;
  CMouseEventResult onMouseDown(CPoint where, CButtonState buttons) override;

 protected:
  [[nodiscard]] float railLength() const override;
  [[nodiscard]] float along(CPoint where) const override;
  [[nodiscard]] float presentPlace() const override;
  [[nodiscard]] float defaultPlace() const override;
  void moveTo(float place) override;
  void startGesture() override;
  void endGesture() override;

 private:
  [[nodiscard]] CRect railRect() const;
  [[nodiscard]] float upperPlace() const;

  std::int32_t upperTag;
  bool movesUpper = false;
  RailPicture rail;
};
