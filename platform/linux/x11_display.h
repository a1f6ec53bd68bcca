#pragma once

#include <signal.h>

#include <map>
#include <string>

#include "platform/linux/x11.h"

/// Around all calls into the libraries of the window system, on their thread: keeps the loss of the
/// server from ending the process.
///
/// Xlib asks a handler of the whole process then, whose default ends it, and so does the signal of
/// a write that nobody reads. Ours stands in for as long as such a call takes and no longer, since
/// the host has its own; losses of connections that are not ours go on to that one.
class X11Guard {
 public:
  X11Guard() noexcept;
  ~X11Guard();
  X11Guard(const X11Guard&) = delete;
  X11Guard& operator=(const X11Guard&) = delete;

 private:
  sigset_t before;
  bool wasPending;
};

/// A connection to the window system that belongs to us alone. Whatever goes wrong on it ends
/// neither the process nor, under an `X11Guard`, a call: requests that the server refuses do
/// nothing, and with the server gone all of them do.
///
/// Refusals, too, would go to a handler of the whole process. They are taken where they arrive on
/// this connection, before any handler is asked. It is one of Xlib because the input method and GLX
/// know no other.
/// Threads: any, one at a time.
class X11Display {
 public:
  /// `name` as in `DISPLAY`, empty for that one. Not alive where there is no such display.
  explicit X11Display(const std::string& name);
  ~X11Display();
  X11Display(const X11Display&) = delete;
  X11Display& operator=(const X11Display&) = delete;

  operator Display*() const { return display; }
  /// False from the loss of the server on, for ever. Then nothing more may be asked of it, not even
  /// that what belongs to it be freed.
  [[nodiscard]] bool isAlive();
  /// Refused requests of all our connections so far: unchanged over a call and an `XSync`, it went
  /// well.
  [[nodiscard]] static unsigned errors() noexcept;
  [[nodiscard]] Atom atom(const std::string& name);

 private:
  Display* display;
  std::map<std::string, Atom> atoms;
  bool isLost = false;
};
