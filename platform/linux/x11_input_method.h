#pragma once

#include <optional>

#include "platform/linux/x11_display.h"
#include "platform/window_events.h"

/// What turns keys into text: dead keys, composing, and the languages that need a dictionary. It
/// works in the language that the process has been set to, which is the host's to choose; in none
/// at all there are no dead keys.
class X11InputMethod {
 public:
  explicit X11InputMethod(X11Display& connection) : display(connection) {}
  ~X11InputMethod();
  X11InputMethod(const X11InputMethod&) = delete;
  X11InputMethod& operator=(const X11InputMethod&) = delete;

  /// Null where there is none. Opens it at first use, and again after its server went.
  [[nodiscard]] XIM get();
  /// What keys of `window` go through; null where there is no method.
  [[nodiscard]] XIC makeContext(Window window);
  /// Changes when all contexts made before are void.
  [[nodiscard]] int generation() const { return opened; }

 private:
  [[nodiscard]] bool canShowBesideCaret();
  static void forget(XIM method, XPointer self, XPointer data);

  X11Display& display;
  XIM method = nullptr;
  XFontSet font = nullptr;
  int opened = 0;
  bool isTried = false;
};

/// The keys of one window.
class X11Keys {
 public:
  X11Keys(X11Display& connection, X11InputMethod& inputMethod, Window ofWindow);
  ~X11Keys();
  X11Keys(const X11Keys&) = delete;
  X11Keys& operator=(const X11Keys&) = delete;

  void setFocus(bool has);
  void setCaret(short x, short y);
  [[nodiscard]] KeyEvent read(XKeyEvent& event);

 private:
  [[nodiscard]] XIC get();
  void drop();
  [[nodiscard]] std::string textOf(XKeyEvent& event, KeySym& symbol);

  X11Display& display;
  X11InputMethod& inputMethod;
  const Window window;
  XIC context = nullptr;
  int generation = -1;
  bool hasFocus = false;
};

/// The modifiers among the bits that go with keys and buttons.
[[nodiscard]] CButtonState modifiersOf(unsigned state);
