#pragma once

#include <cstdint>
#include <string>

#include "toolkit/view.h"

class CControl;

/// Who acts on what the user does to controls: the editor.
class CControlListener {
 public:
  virtual ~CControlListener() = default;

  virtual void valueChanged(CControl& control) = 0;
  /// A press with a key held, before the control makes anything of it itself. True for one that was
  /// of use, and is nothing else then.
  virtual bool controlModifierClicked(CControl& /*control*/, CButtonState /*buttons*/) {
    return false;
  }
};

/// Where a control stands, who hears of it, and the number it is known by, -1 for none.
struct ControlSetup {
  CRect size;
  CControlListener* listener = nullptr;
  std::int32_t tag = -1;
};

/// A view with a value and the number it is known by. Threads: as `CView`.
class CControl : public CView {
 public:
  explicit CControl(const ControlSetup& setup);

  /// Not told to the listener.
  virtual void setValue(float plain);
  [[nodiscard]] float getValue() const noexcept { return value; }
  /// -1 asks for the next drawing whatever the value is.
  void setOldValue(float last);
  [[nodiscard]] float getOldValue() const noexcept { return oldValue; }
  void setTag(std::int32_t number) noexcept { tag = number; }
  [[nodiscard]] std::int32_t getTag() const noexcept { return tag; }
  void setMin(float least) noexcept { vmin = least; }
  void setMax(float most) noexcept { vmax = most; }
  [[nodiscard]] float getMin() const noexcept { return vmin; }
  [[nodiscard]] float getMax() const noexcept { return vmax; }
  void setDefaultValue(float plain) noexcept { defaultValue = plain; }
  [[nodiscard]] float getDefaultValue() const noexcept { return defaultValue; }
  void setWheelInc(float perStep) noexcept { wheelInc = perStep; }
  [[nodiscard]] float getWheelInc() const noexcept { return wheelInc; }
  void setListener(CControlListener* who) noexcept { listener = who; }
  [[nodiscard]] CControlListener* getListener() const noexcept { return listener; }

  /// Tells the listener of the value as it is.
  virtual void valueChanged();
  /// What lies between the two is one act of the user. In pairs, also where the view goes away.
  void beginEdit();
  void endEdit();
  /// Keeps the value between least and most.
  void bounceValue() noexcept;
  /// A press with the control key goes to the default, as one act.
  bool checkDefaultValue(CButtonState buttons);
  /// Whether the listener makes something of the keys held at a press.
  [[nodiscard]] bool isModifierClick(CButtonState buttons);
  /// Whether it makes something of a press of the right button.
  [[nodiscard]] bool isMenuClick(CButtonState buttons);
  /// Sets, tells and asks to be drawn, where the value is another one.
  void changeValue(float plain);

  /// The words it shows, where it shows any; UTF-8.
  [[nodiscard]] virtual std::string shownText() const { return {}; }

  [[nodiscard]] bool isDirty() const override;
  void setDirty(bool on = true) override;
  void removed() override;

 protected:
  /// What the wheel does to controls that are turned or slid: by the increment for each step, or
  /// with shift by a tenth of it.
  bool turnByWheel(float steps, CButtonState buttons);

  float value = 0.0F;
  float oldValue = -1.0F;
  float vmin = 0.0F;
  float vmax = 1.0F;

 private:
  CControlListener* listener;
  std::int32_t tag;
  float defaultValue = 0.5F;
  float wheelInc = 0.1F;
  int edits = 0;
};
