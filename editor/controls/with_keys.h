#pragma once

#include <type_traits>

#include "editor/controls/value_part.h"
#include "toolkit/device_picture.h"
#include "toolkit/option_menu.h"

/// A button or menu that Tab reaches, and that Return and Space press. A press of the mouse leaves
/// the keys where they are. `Base` draws by `hoverShare` and `drawFocus`. Threads: as `CView`.
template <typename Base>
class WithKeys : public WithHover<Base>, public nCanFocus {
 public:
  using WithHover<Base>::WithHover;

  [[nodiscard]] bool isTabStop() const override { return true; }
  [[nodiscard]] bool hasFocus() const override { return focused; }
  void takeFocus() override { showFocus(true); }
  void looseFocus() override { showFocus(false); }
  void removed() override {
    focused = false;
    WithHover<Base>::removed();
  }
  bool onKeyDown(const KeyEvent& key) override {
    if (isMenuKey(key)) return this->isMenuClick(kMenuKeyPress);
    const bool presses =
        key.key == Key::kReturn || key.key == Key::kEnter || key.key == Key::kSpace;
    if (std::is_base_of_v<COptionMenu, Base> || !presses) return WithHover<Base>::onKeyDown(key);
    const Held<CView> stays(this);
    const CPoint middle = this->getViewSize().centre();
    if (this->onMouseDown(middle, kLButton) == kMouseEventHandled) {
      this->onMouseUp(middle, kLButton);
    }
    return true;
  }

 protected:
  void drawFocus(CDrawContext& context, const CRect& around) {
    if (focused) ring.draw(context, around, {3.0F, kTransparentCColor, look::kLit});
  }

 private:
  void showFocus(bool on) {
    focused = on;
    this->setDirty();
  }

  bool focused = false;
  BoxPicture ring;
};
