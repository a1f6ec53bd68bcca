#pragma once

#include <memory>
#include <vector>

// Last, since its macros have common names.
#include "platform/linux/x11.h"

/// A host with its window at the corner of the screen, 640 by 480, in which an editor opens.
class HostWindow {
 public:
  static constexpr unsigned long kGround = 0xFF00FF;

  HostWindow()
      : host(XOpenDisplay(nullptr), XCloseDisplay),
        parent(XCreateSimpleWindow(host.get(), DefaultRootWindow(host.get()), 0, 0, 640, 480, 0, 0,
                                   kGround)) {
    XMapWindow(host.get(), parent);
    XSync(host.get(), False);
  }

  [[nodiscard]] Display* display() const { return host.get(); }
  [[nodiscard]] void* handle() const { return reinterpret_cast<void*>(parent); }
  /// What stood on the screen is lost.
  void hideAndShow() {
    XUnmapWindow(host.get(), parent);
    XMapWindow(host.get(), parent);
    XSync(host.get(), False);
  }
  void destroy() {
    XDestroyWindow(host.get(), parent);
    XSync(host.get(), False);
  }
  [[nodiscard]] unsigned long pixel(int x, int y) const {
    XImage* const image =
        XGetImage(host.get(), DefaultRootWindow(host.get()), x, y, 1, 1, AllPlanes, ZPixmap);
    const unsigned long colour = XGetPixel(image, 0, 0) & 0xFFFFFF;
    XDestroyImage(image);
    return colour;
  }
  /// Whether there is something of an editor; by itself at the bar at the top.
  [[nodiscard]] bool isDrawn(int x = 10, int y = 4) const {
    const unsigned long colour = pixel(x, y);
    return colour != 0 && colour != kGround;
  }
  [[nodiscard]] std::vector<Window> children() const {
    Window ignored = None;
    Window* found = nullptr;
    unsigned count = 0;
    XSync(host.get(), False);
    XQueryTree(host.get(), parent, &ignored, &ignored, &found, &count);
    std::vector<Window> all(found, found + count);
    if (found != nullptr) XFree(found);
    return all;
  }

 private:
  std::unique_ptr<Display, int (*)(Display*)> host;
  Window parent;
};
