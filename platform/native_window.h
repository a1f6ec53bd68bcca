#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/gl_context.h"
#include "platform/window_events.h"

/// A place or size in device pixels of a window, y down.
struct DevicePoint {
  double x = 0.0;
  double y = 0.0;
};

/// `left` and `top` inside, `right` and `bottom` outside.
struct DeviceRect {
  int left = 0;
  int top = 0;
  int right = 0;
  int bottom = 0;
};

/// Rows from the top of 32-bit pixels, blue in the lowest byte, premultiplied; `stride` in bytes.
struct PixelRows {
  const std::uint8_t* first = nullptr;
  int width = 0;
  int height = 0;
  int stride = 0;
};

/// Who is told what happens to a window. Threads: the one that calls `WindowSystem::pump`, from
/// within that call; a window may be closed from within any of these.
class WindowListener {
 public:
  virtual ~WindowListener() = default;

  /// `buttons`: what is down after the event, and with `kDoubleClick` for the second press within
  /// 400 ms and 4 pixels; the button that went down or up is `changed`.
  virtual void mouseDown(DevicePoint where, CButton changed, CButtonState buttons) = 0;
  virtual void mouseUp(DevicePoint where, CButton changed, CButtonState buttons) = 0;
  virtual void mouseMoved(DevicePoint where, CButtonState buttons) = 0;
  virtual void mouseLeft() = 0;
  /// `steps`: notches, up and away from the user above 0, as are those to the left; parts of one
  /// from a smooth wheel.
  virtual void wheel(DevicePoint where, float steps, CButtonState buttons) = 0;
  /// True for a key that was of use; any other goes on to the host's window. What is typed while a
  /// window of the host has the focus goes there unheard.
  virtual bool keyDown(const KeyEvent& key) = 0;
  virtual bool keyUp(const KeyEvent& key) = 0;
  virtual void focusChanged(bool has) = 0;

  virtual void resized(int width, int height) = 0;
  virtual void scaleChanged(double scale) = 0;
  /// Part of the window must be shown again.
  virtual void exposed(const DeviceRect& part) = 0;
  /// The user wants to close a window of its own.
  virtual void closeAsked() = 0;
  /// The window is gone, with its parent or with the display; nothing may be asked of it any more.
  virtual void destroyed() = 0;

  /// Whether files may be dropped there.
  virtual bool dropMoved(DevicePoint where) = 0;
  virtual void dropLeft() = 0;
  virtual void filesDropped(DevicePoint where, const std::vector<std::string>& paths) = 0;
  /// The answer to `NativeWindow::askClipboard`; UTF-8, empty where there is no text.
  virtual void clipboardText(std::string_view text) = 0;
};

/// What programs share texts by: the clipboard of copy and paste, and the selection that the middle
/// button inserts.
enum class Clipboard : std::uint8_t { kClipboard, kPrimary };

/// A window on the screen, inside one of a host or on its own. Its destructor closes it. Threads:
/// the message thread, but for what `GlContext` says.
class NativeWindow {
 public:
  virtual ~NativeWindow() = default;

  /// For the host; 0 for a window that is on no screen.
  [[nodiscard]] virtual std::uintptr_t handle() const = 0;
  /// Device pixels per logical pixel of the screen, at least 1.
  [[nodiscard]] virtual double scale() const = 0;
  virtual void resize(int width, int height) = 0;
  virtual void setTitle(const std::string& title) = 0;
  virtual void setCursor(Cursor cursor) = 0;
  /// Of which the listener hears nothing: it is no move of the user.
  virtual void warpPointer(DevicePoint where) = 0;
  /// While on, the window hears of the mouse wherever it is, so that a press elsewhere can close a
  /// menu.
  virtual void grabMouse(bool on) = 0;
  virtual void takeFocus() = 0;
  /// Keys go to the host's window again.
  virtual void giveFocusBack() = 0;
  /// Where text is being typed, so that an input method shows its own window beside it.
  virtual void setCaret(DevicePoint where) = 0;
  virtual void putClipboard(Clipboard which, std::string text) = 0;
  /// `WindowListener::clipboardText` follows, from within `pump`, and at the latest a second after
  /// the program that has the text was last heard. Asking again before is of no effect.
  virtual void askClipboard(Clipboard which) = 0;
  /// Shows part of a picture of the whole window.
  virtual void show(const PixelRows& picture, const DeviceRect& part) = 0;
  /// A context that draws to this window, all over it and whatever its size becomes, or null:
  /// `samples` per pixel, none where the driver has no such. It goes before the window does.
  [[nodiscard]] virtual std::unique_ptr<GlContext> makeGlContext(int samples) = 0;
};

/// The process's one connection to the display. Threads: the message thread.
class WindowSystem {
 public:
  /// Null where there is no display. Stays connected while a window or a holder lives. With the
  /// display lost all windows are destroyed, and only a new call connects again. Dead keys and
  /// other text take a program that has set its language (`LC_CTYPE`) before.
  [[nodiscard]] static std::shared_ptr<WindowSystem> connect();
  virtual ~WindowSystem() = default;

  /// A window inside `parent`, a host's handle. Null where that fails. `listener` outlives it.
  [[nodiscard]] virtual std::unique_ptr<NativeWindow> openChild(std::uintptr_t parent, int width,
                                                                int height,
                                                                WindowListener& listener) = 0;
  [[nodiscard]] virtual std::unique_ptr<NativeWindow> openTop(const std::string& title, int width,
                                                              int height,
                                                              WindowListener& listener) = 0;
  /// Tells the listeners of all windows what has happened since. Every 10 ms or oftener; returns at
  /// once. From within itself it does nothing.
  virtual void pump() = 0;
  /// Readable when `pump` has something to do.
  [[nodiscard]] virtual int fileDescriptor() const = 0;
};
