#pragma once

#include <cstdint>
#include <utility>

#include "toolkit/frame.h"

/// How much of a control's look under the mouse it shows: from 0 to 1 in 80 ms, and back in 120.
/// Threads: as `CView`.
class HoverFade {
 public:
  void begin(std::uint64_t now) noexcept { turn(now, 1.0F); }
  void end(std::uint64_t now) noexcept { turn(now, 0.0F); }
  void forget() noexcept { *this = HoverFade(); }
  /// False where it has come to its end.
  bool advance(std::uint64_t now) noexcept;
  [[nodiscard]] float share() const noexcept { return shown; }

 private:
  void turn(std::uint64_t now, float to) noexcept;

  std::uint64_t since = 0;  // ms
  float from = 0.0F;
  float goal = 0.0F;
  float shown = 0.0F;
};

/// A control that looks different under the mouse. `Base` draws by `hoverShare`.
template <typename Base>
class WithHover : public Base {
 public:
  using Base::Base;

  void onMouseEntered(CPoint where, CButtonState buttons) override {
    Base::onMouseEntered(where, buttons);
    fade.begin(this->getFrame()->now());
    this->getFrame()->wantIdle(*this, true);
  }
  void onMouseExited() override {
    if (CFrame* const frame = this->getFrame()) {
      fade.end(frame->now());
      frame->wantIdle(*this, true);
    }
    Base::onMouseExited();
  }
  void onIdle() override {
    if (!fade.advance(this->getFrame()->now())) this->getFrame()->wantIdle(*this, false);
    this->setDirty();
    Base::onIdle();
  }
  void removed() override {
    fade.forget();
    Base::removed();
  }

 protected:
  /// 0 where the mouse is elsewhere, 1 where it is over the control, between them while that
  /// changes.
  [[nodiscard]] float hoverShare() const noexcept { return fade.share(); }

 private:
  HoverFade fade;
};
