#pragma once

#include <optional>
#include <utility>

#include "editor/controls/control_outline.h"
#include "editor/controls/marks.h"
#include "editor/controls/value_keys.h"
#include "editor/controls/with_hover.h"
#include "toolkit/look.h"

/// What holds several controls that look like one. Threads: as `CView`.
class PartHolder {
 public:
  virtual ~PartHolder() = default;

  virtual void partHovered(bool on) = 0;
  /// Focus, drag, entry or marks of a part are others now.
  virtual void partChanged() = 0;
  /// How much of the look under the mouse all parts show, 0 to 1.
  [[nodiscard]] virtual float sharedHover() const = 0;
  [[nodiscard]] virtual bool isAnyDragged() const = 0;
};

/// A control that the keys can be on, alone or as a part of a block. Threads: as `CView`.
class nCanFocus {
 public:
  virtual ~nCanFocus() = default;

  /// False for a part that leaves the keys to another one of its block.
  [[nodiscard]] virtual bool isTabStop() const = 0;
  [[nodiscard]] virtual bool hasFocus() const = 0;
};

/// The key that asks for a menu counts as a press of whichever button the user has for that.
inline constexpr std::uint32_t kMenuKeyPress = kLButton | kRButton | kAlt;

/// A control of one value with all marks, which takes the keys when it is pressed. The right button
/// and a press with keys held go to the listener first; one that is disabled or locked takes
/// nothing else.
template <typename Base>
class ValuePart : public WithHover<Base>, public ControlMarks, public nCanFocus {
 public:
  using WithHover<Base>::WithHover;

  /// `block` outlives it; `keysAt`, another part of it, takes the keys in its place.
  void setHolder(PartHolder* block, CView* keysAt = nullptr) {
    holder = block;
    keyPart = keysAt;
  }
  [[nodiscard]] bool isTabStop() const override {
    return keyPart == nullptr && !marks().isDisabled;
  }
  /// Of what is drawn, from its side on.
  [[nodiscard]] virtual float shownWidth() const { return this->getViewSize().width(); }
  [[nodiscard]] bool hasFocus() const override { return focused; }
  [[nodiscard]] bool isDragged() const noexcept { return dragged; }

  void takeFocus() override {
    focused = true;
    outlineChanged();
  }
  void looseFocus() override {
    focused = false;
    outlineChanged();
  }
  void onMouseEntered(CPoint where, CButtonState buttons) override {
    WithHover<Base>::onMouseEntered(where, buttons);
    if (holder != nullptr) holder->partHovered(true);
    forbids = marks().isLocked;
    if (forbids) this->getFrame()->setCursor(Cursor::kForbidden);
  }
  void onMouseExited() override {
    if (std::exchange(forbids, false) && this->getFrame() != nullptr) {
      this->getFrame()->setCursor(Cursor::kArrow);
    }
    if (holder != nullptr) holder->partHovered(false);
    WithHover<Base>::onMouseExited();
  }
  void onIdle() override {
    WithHover<Base>::onIdle();
    if (!marks().isLearning) return;
    this->getFrame()->wantIdle(*this, true);
    if (std::exchange(wasBlinkOn, blinkNow()) != blinkNow()) outlineChanged();
  }
  void removed() override {
    focused = dragged = false;
    WithHover<Base>::removed();
  }
  bool onKeyDown(const KeyEvent& key) override {
    if (isMenuKey(key)) return asksListener(kMenuKeyPress) || Base::onKeyDown(key);
    if (!canChange()) return false;
    const std::optional<float> moved = valueByKey(key);
    if (!moved) return Base::onKeyDown(key);
    takeValue(*moved);
    return true;
  }

 protected:
  [[nodiscard]] bool canChange() const noexcept { return !marks().isDisabled && !marks().isLocked; }
  [[nodiscard]] PartHolder* getHolder() const noexcept { return holder; }
  [[nodiscard]] float shownHover() const {
    if (!canChange()) return 0.0F;
    return holder != nullptr ? holder->sharedHover() : this->hoverShare();
  }
  /// It, or another part of its block, is dragged.
  [[nodiscard]] bool showsDrag() const {
    return holder != nullptr ? holder->isAnyDragged() : dragged;
  }
  /// A whole act of the user.
  void takeValue(float plain) {
    if (plain == this->getValue()) return;
    const Held<CView> stays(this);
    this->beginEdit();
    putValue(plain);
    this->endEdit();
  }
  /// Sets and tells it.
  virtual void putValue(float plain) { this->changeValue(plain); }
  /// What a key makes of the value; none for a key that it does not know.
  [[nodiscard]] virtual std::optional<float> valueByKey(const KeyEvent& key) = 0;

  /// The press has been dealt with, or the control takes none now; otherwise it has the keys.
  bool takesPress(CButtonState buttons, bool withKeys = true) {
    const Held<CView> stays(this);
    if (marks().isDisabled) return true;
    if (buttons.isRight()) return asksListener(buttons) || true;
    if (this->isModifierClick(buttons)) return true;
    if (this->getFrame() == nullptr) return true;
    if (withKeys) this->getFrame()->setFocusView(keyPart != nullptr ? keyPart : this);
    return marks().isLocked;
  }
  void setDragged(bool on) {
    dragged = on;
    outlineChanged();
  }
  void marksChanged() override {
    if (this->getFrame() != nullptr && marks().isLearning) {
      this->getFrame()->wantIdle(*this, true);
    }
    outlineChanged();
  }
  /// What lies around the control is to be drawn again.
  void outlineChanged() {
    this->setDirty();
    if (holder != nullptr) {
      holder->partChanged();
    } else if (this->isShown()) {
      this->getRoot()->invalidFrameRect(
          this->localToFrame(ControlOutline::reachOf(this->getViewSize())));
    }
  }
  /// Draws ring, ground and marks around a control that is no part of a block.
  void drawOutline(CDrawContext& context) {
    if (holder != nullptr) return;
    outline.draw(context, this->getViewSize(), marks(), {focused, dragged, blinkNow()});
  }
  [[nodiscard]] bool blinkNow() const {
    return this->getFrame() != nullptr && (this->getFrame()->now() / look::kBlinkMs) % 2 != 0;
  }

 private:
  bool asksListener(CButtonState buttons) {
    return this->getListener() != nullptr &&
           this->getListener()->controlModifierClicked(*this, buttons);
  }

  PartHolder* holder = nullptr;
  CView* keyPart = nullptr;
  bool focused = false;
  bool dragged = false;
  bool wasBlinkOn = false;
  bool forbids = false;  // by the cursor
  ControlOutline outline;
};
