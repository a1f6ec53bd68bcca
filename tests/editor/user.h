#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "core/plug.h"
#include "editor/plug_ed.h"
#include "tests/support/test_directory.h"
#include "toolkit/popup_menu.h"

/// An effect on a machine of its own, with its editor off the screen.
class User {
 public:
  explicit User(Machine& machine)
      : plug(nullptr, Plug::Idle::kCaller, &monotonicMilliseconds, machine, [this](Plug& effect) {
          auto made = std::make_unique<PlugEd>(effect);
          editor = made.get();
          return made;
        }) {
    editor->showBy({false, [this] { return now; }});
    EXPECT_TRUE(editor->openOffScreen(1.0F));
  }

  [[nodiscard]] CGFrame& frame() { return *editor->shownFrame(); }
  void move(double x, double y) { frame().events().mouseMoved({x, y}, held); }
  void down(double x, double y, CButton button = kLButton, std::uint32_t more = 0) {
    move(x, y);
    held = button;
    frame().events().mouseDown({x, y}, button, button | more);
  }
  void up(double x, double y) {
    const auto button = static_cast<CButton>(std::exchange(held, 0));
    frame().events().mouseUp({x, y}, button, button);
  }
  void click(double x, double y, CButton button = kLButton) {
    down(x, y, button);
    up(x, y);
  }
  void key(Key code, CButtonState keys = {}) { frame().events().keyDown({code, 0, {}, keys}); }
  void type(const std::string& text) {
    KeyEvent event;
    event.text = text;
    frame().events().keyDown(event);
  }
  void wait(std::uint64_t ms) {
    now += ms;
    editor->idle();
  }
  /// Presses an entry of the innermost menu that is open; false if there is none of that text.
  bool choose(const std::string& text) {
    auto* const menu = dynamic_cast<PopupMenu*>(frame().getModalView());
    if (menu == nullptr) return false;
    const MenuPanel& panel = menu->panel(menu->panelCount() - 1);
    for (int row = 0; panel.entry(row) != nullptr; ++row) {
      if (panel.entry(row)->text != text) continue;
      const CPoint at = panel.rowPlace(row).centre();
      click(at.x, at.y);
      return true;
    }
    return false;
  }
  bool chooseAt(double x, double y, const std::string& text, CButton button = kLButton) {
    click(x, y, button);
    return choose(text);
  }
  [[nodiscard]] double option(const char* group, const char* key) {
    return plug.uiSettings().getUiValue(group, key);
  }
  [[nodiscard]] std::string textOf(std::int32_t parameter) {
    char text[PlugBase::kParameterTextCapacity] = {};
    plug.getParameterDisplay(parameter, text);
    return text;
  }
  [[nodiscard]] std::string presetName() {
    char name[64] = {};
    plug.getProgramName(name);
    return name;
  }

  std::uint64_t now = 1000;
  std::uint32_t held = 0;
  PlugEd* editor = nullptr;
  Plug plug;
};

/// A machine without anything stored.
struct OnMachine {
  TestDirectory directory;
  Machine machine{std::make_unique<MemoryStore>(), {directory.path(""), ""}};
};
