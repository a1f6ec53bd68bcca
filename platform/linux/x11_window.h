#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/linux/x11_connection.h"
#include "platform/linux/x11_drop.h"
#include "platform/linux/x11_gl_target.h"
#include "platform/linux/x11_picture.h"
#include "platform/linux/x11_pointer.h"
#include "platform/native_window.h"

/// A window, by the connection it shares. Its calls do nothing once it has been destroyed.
class X11Window final : public NativeWindow, private X11Target {
 public:
  /// Inside `parent`, or, without one, on its own. Null where the parent is not there.
  [[nodiscard]] static std::unique_ptr<X11Window> open(std::shared_ptr<X11Connection> connection,
                                                       Window parent, const std::string& title,
                                                       int width, int height,
                                                       WindowListener& listener);
  ~X11Window() override;

  [[nodiscard]] std::uintptr_t handle() const override { return window; }
  [[nodiscard]] double scale() const override { return connection->scale(); }
  void resize(int newWidth, int newHeight) override;
  void setTitle(const std::string& title) override;
  void setCursor(Cursor cursor) override;
  void warpPointer(DevicePoint where) override;
  void grabMouse(bool on) override;
  void takeFocus() override;
  void giveFocusBack() override;
  void setCaret(DevicePoint where) override;
  void putClipboard(Clipboard which, std::string text) override;
  void askClipboard(Clipboard which) override;
  void show(const PixelRows& picture, const DeviceRect& part) override;
  [[nodiscard]] std::unique_ptr<GlContext> makeGlContext(int samples) override;

 private:
  struct Made {
    Window parent;
    Window window;
    XVisualInfo visual;
    Colormap colours;
    int width;
    int height;
  };
  X11Window(std::shared_ptr<X11Connection> ofProcess, const Made& made, WindowListener& whoIsTold);

  void handle(XEvent& event) override;
  [[nodiscard]] bool isForUs(const XKeyEvent& event) const override;
  void tellMove() override;
  void scaleChanged() override { listener->scaleChanged(scale()); }
  void displayLost() override;

  void setProperties();
  void setSizeHints(int newWidth, int newHeight);
  void handleDevice(const XIDeviceEvent& event);
  void handleButton(DevicePoint where, unsigned number, unsigned state, bool isDown, Time time);
  void handleMove(DevicePoint where, unsigned state, unsigned long serial);
  void handleKey(XKeyEvent& event);
  void sendToHost(const XKeyEvent& event);
  void handleCrossing(const XCrossingEvent& event);
  void handleFocus(const XFocusChangeEvent& event);
  void handleSize(XEvent& event);
  void handleExposure(const XExposeEvent& event);
  void handleMessage(const XClientMessageEvent& message);
  void forget();
  [[nodiscard]] bool isThere() { return window != None && display.isAlive(); }
  [[nodiscard]] Atom atomOf(Clipboard which);

  const std::shared_ptr<X11Connection> connection;
  X11Display& display;
  const Window parent;  // None for one on its own
  Window window;        // None once it is gone
  const Colormap colours;
  const X11Told listener;
  std::optional<X11Picture> picture;
  std::optional<X11Keys> keys;
  std::optional<X11Drop> drop;
  const std::shared_ptr<X11GlTarget> target = std::make_shared<X11GlTarget>();
  X11PointerPlace pointer;
  DoubleClicks doubleClicks;
  X11WheelAxes axes;
  CButtonState moveButtons;  // of a move that is not told yet
  bool hasMoved = false;
  bool hasFocus = false;
  bool isGrabbing = false;
  Window focusBefore = None;  // who had it when it was taken
  int width;
  int height;
  DeviceRect exposure;                                              // all parts of it so far
  const std::shared_ptr<void> life = std::make_shared<char>('\0');  // seen to end by a callee
};
