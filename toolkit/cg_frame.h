#pragma once

#include <memory>

#include "toolkit/frame.h"
#include "toolkit/plain_context.h"

/// A frame that draws itself on the message thread, with the plain context: what has changed since
/// the last `idle`, and nothing where nothing has. Threads: as `CFrame`.
class CGFrame : public CFrame {
 public:
  using CFrame::CFrame;

  void idle() override;
  /// The picture as it is now, drawn up to date; null before the frame is open.
  [[nodiscard]] const CBitmap* picture();

 protected:
  void windowCloses() override;
  void windowResized() override;
  /// False where something else draws to the window.
  [[nodiscard]] virtual bool drawsItself() const { return true; }

 private:
  DeviceRect drawChanges();
  void forgetSurface();

  Held<CBitmap> surface;  // in device pixels; none before the first drawing and after a change
  std::unique_ptr<PlainContext> context;
};
