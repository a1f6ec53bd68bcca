#pragma once

#include "graphs/opengl/ogl_render.h"
#include "toolkit/cg_frame.h"

/// A frame that OpenGL draws on a thread of its own; where that cannot be had it draws itself, as
/// `CGFrame`. Threads: as `CFrame`.
class OGLFrame : public CGFrame {
 public:
  OGLFrame(const CRect& size, VSTGUIEditorInterface* editor, Clock clock);

  /// Null where the frame draws itself.
  [[nodiscard]] OGLRender* getRender() const noexcept { return render; }

 protected:
  void windowOpened() override;
  void windowCloses() override;
  void windowResized() override;
  void windowExposed(const DeviceRect& part) override;
  [[nodiscard]] bool drawsItself() const override { return render == nullptr; }

 private:
  OGLRender* render = nullptr;  // its first child
};
