#pragma once

#include <optional>
#include <string>
#include <vector>

#include "editing/menu.h"
#include "editor/controls/value_part.h"
#include "toolkit/control.h"
#include "toolkit/device_picture.h"
#include "toolkit/push_button.h"

/// A setting as a row shows it: one of several choices, a number, or a colour.
struct SettingRow {
  std::string group;
  std::string name;
  std::vector<std::string> choices{};  ///< empty for a number
  std::string unit{};                  ///< of a number
  double value = 0.0;                  ///< index of the choice, number, or 0xRRGGBB
  double min = 0.0;                    ///< of a number
  double max = 0.0;
  bool isColour = false;
  CRect place{};  ///< from the corner of the control, 22 high

  /// The value as it is written; one beyond the ends as the nearest one.
  [[nodiscard]] std::string text() const;
  /// The nearest value that the setting can have.
  [[nodiscard]] double nearest(double wanted) const;
};

/// What a page of settings shows; places from the corner of the control.
struct SettingPage {
  struct Heading {
    std::string text;
    CRect place;  ///< 24 high, over a hairline
  };
  std::vector<SettingRow> rows;
  std::vector<Heading> headings{};
  std::vector<std::string> tabs{};  ///< none where there is one page only
  int tab = 0;                      ///< the one shown
  std::string button{};
};

/// Pages of settings with tabs and a button below. A press on a row opens the menu of its values,
/// the right button the one with all that can be done; a row of a number is dragged, and the wheel
/// goes to the next value. Arrows move between rows and change the value, Return opens,
/// with shift what the right button opens.
///
/// The settings are asked for whenever they are drawn: nothing is kept here. The value that the
/// listener is told is the row's number, -1 where several rows have changed. Threads: as `CView`.
class SettingRows : public CControl, public nCanFocus {
 public:
  static constexpr float kRowPitch = 24.0F;

  explicit SettingRows(const ControlSetup& setup);

  void draw(CDrawContext& context) override;
  CMouseEventResult onMouseDown(CPoint where, CButtonState buttons) override;
  CMouseEventResult onMouseMoved(CPoint where, CButtonState buttons) override;
  CMouseEventResult onMouseUp(CPoint where, CButtonState buttons) override;
  void onMouseExited() override;
  void onMouseCancel() override;
  bool onWheel(CPoint where, float steps, CButtonState buttons) override;
  bool onKeyDown(const KeyEvent& key) override;
  void takeFocus() override;
  void looseFocus() override;
  [[nodiscard]] bool isTabStop() const override { return true; }
  [[nodiscard]] bool hasFocus() const override { return isFocused; }

 protected:
  [[nodiscard]] virtual SettingPage page() const = 0;
  /// Stores a value.
  virtual void write(const SettingRow& row, double number) = 0;
  virtual void showTab(int tab) = 0;
  virtual void pressButton() = 0;
  /// What the menu of a row holds besides its values.
  virtual void addMore(Menu& /*menu*/, const SettingRow& /*row*/) {}
  virtual void openColour(const SettingRow& /*row*/) {}

  /// Stores the nearest value and tells the listener, if it is another one.
  void change(const SettingRow& row, double number);
  /// Tells the listener that several settings are others now.
  void changedAll();
  /// In the coordinates of the container.
  [[nodiscard]] CRect placed(const CRect& own) const { return own.movedBy(size.topLeft()); }
  [[nodiscard]] CRect buttonPlace() const;

  static constexpr float kFootTop = 308.0F;  // of tabs and button

 private:
  enum class Part { kRow, kTab, kButton };
  struct Spot {
    Part part = Part::kRow;
    std::size_t index = 0;
    CRect place{};  // in the coordinates of the container
  };
  struct Drag {
    SettingRow row;
    CPoint from;
  };

  [[nodiscard]] std::vector<Spot> spotsOf(const SettingPage& shown) const;
  [[nodiscard]] static int spotAt(const std::vector<Spot>& spots, CPoint where);
  void drawRow(CDrawContext& context, const SettingRow& row, bool isHot);
  void drawTab(CDrawContext& context, const CRect& place, const std::string& text, bool isShown,
               bool isHot) const;
  void openRow(const SettingRow& row, bool withMore, bool isPressed);
  void stepRow(const SettingRow& row, double by);
  void act(const Spot& spot, const SettingPage& shown);
  bool keyAt(const KeyEvent& key, const Spot& spot, const SettingPage& shown);

  static constexpr int kNone = -1;

  BoxPicture hotRow;
  BoxPicture ring;
  PushButtonFace button;
  BoxPicture swatch;
  IconPicture arrow;
  IconPicture hotArrow;
  int hot = kNone;    // spot under the mouse
  int keyed = kNone;  // spot that the keys are at
  bool isFocused = false;
  bool isPressed = false;  // the button is
  float wheelRest = 0.0F;
  std::optional<Drag> drag;
};
