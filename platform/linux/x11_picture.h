#pragma once

#include "platform/linux/x11_display.h"
#include "platform/native_window.h"

/// Puts pictures into a window: through memory that the server shares, where it is on this machine.
class X11Picture {
 public:
  /// A window of `depth` 24 or 32 with 8 bits for each of red, green and blue.
  X11Picture(X11Display& connection, Window ofWindow, Visual* ofVisual, int ofDepth);
  ~X11Picture();
  X11Picture(const X11Picture&) = delete;
  X11Picture& operator=(const X11Picture&) = delete;

  void show(const PixelRows& picture, const DeviceRect& part);

 private:
  [[nodiscard]] bool share(int width, int height);
  void endSharing();

  X11Display& display;
  const Window window;
  Visual* const visual;
  const int depth;
  GC context;
  XShmSegmentInfo segment{};
  XImage* shared = nullptr;
  bool canShare;
};
