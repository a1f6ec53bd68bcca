#pragma once

#include <cstdint>
#include <string>

#include "editor/controls/with_keys.h"
#include "state/preset_menu.h"
#include "toolkit/device_picture.h"
#include "toolkit/option_menu.h"
#include "toolkit/text_edit.h"

class Plug;

/// The presets of a folder, and menus of those in it. Threads, for all of these: as `CView`.
class CPresetSubMenu : public COptionMenu {
 public:
  explicit CPresetSubMenu(std::string folder);
  explicit CPresetSubMenu(const ControlSetup& setup);

  /// The folder, as `PresetMenu` has it.
  [[nodiscard]] const std::string& getPath() const noexcept { return path; }

 protected:
  void fill(const PresetMenu& folder);

 private:
  std::string path;
};

/// The menu of all presets, with a picture. It reads their folders whenever it opens, and loads
/// what is chosen before the listener hears of it: the effect's state is another one then, and the
/// entry is `getLastResult` of `getLastItemMenu`. Without any presets it does not open.
///
/// A press waits for a second one, by which the name over it is edited, before it opens the menu.
class CPresetMenu : public WithKeys<CPresetSubMenu> {
 public:
  CPresetMenu(const ControlSetup& setup, Plug& effect);

  /// The files have changed: reads the folders again.
  void refresh();
  void valueChanged() override;
  void draw(CDrawContext& context) override;
  CMouseEventResult onMouseDown(CPoint where, CButtonState buttons) override;
  bool onKeyDown(const KeyEvent& key) override;
  bool onWheel(CPoint where, float steps, CButtonState buttons) override;
  void onIdle() override;
  void removed() override;
  /// A second press has come, and was for something else.
  void forgetPress() { waits = false; }

 protected:
  /// Whether a press there waits for no other.
  [[nodiscard]] virtual bool opensAtOnce(CPoint /*where*/) const { return false; }

 private:
  Plug& plug;
  bool waits = false;
  std::uint64_t pressedAt = 0;  // ms
};

/// As a small arrow at the right of the name, which another control writes.
class CTTPresetMenu : public CPresetMenu {
 public:
  using CPresetMenu::CPresetMenu;

  void draw(CDrawContext& context) override;

  static constexpr float kArrowRoom = 20.0F;

 private:
  IconPicture arrow;
};

/// The arrow opens it at once.
class CTTPresetMenu2 : public CTTPresetMenu {
 public:
  using CTTPresetMenu::CTTPresetMenu;

 protected:
  [[nodiscard]] bool opensAtOnce(CPoint where) const override {
    return where.x >= getViewSize().right - kArrowRoom;
  }
};

/// The name of the present preset over its menu, which gets single presses; a double click edits
/// it. The effect has the new name before the listener hears of it.
class PresetName : public CTextEdit {
 public:
  /// `below` lives as long as this, in the same container.
  PresetName(const ControlSetup& setup, Plug& effect, CPresetMenu& below);

  [[nodiscard]] std::string shownText() const override;
  void draw(CDrawContext& context) override;
  CMouseEventResult onMouseDown(CPoint where, CButtonState buttons) override;

 protected:
  [[nodiscard]] CRect fieldPlace() const override { return getViewSize(); }
  void takeText(const std::string& utf8) override;

 private:
  Plug& plug;
  CPresetMenu& menu;
};
