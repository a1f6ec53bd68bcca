#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <utility>

#include "platform/linux/x11_display.h"
#include "platform/linux/x11_input_method.h"
#include "platform/linux/x11_selections.h"
#include "platform/native_window.h"

/// Who is told what the server says of one window. A target may go from within any of these.
class X11Target {
 public:
  virtual ~X11Target() = default;

  virtual void handle(XEvent& event) = 0;
  /// Whether the input method may make text of this key.
  [[nodiscard]] virtual bool isForUs(const XKeyEvent& event) const = 0;
  /// Tells the last of the moves that `handle` was given; they are told once, however many come.
  virtual void tellMove() = 0;
  virtual void scaleChanged() = 0;
  virtual void displayLost() = 0;
};

/// What the windows of a process share: one connection, whose events it hands out. Threads: the
/// message thread.
class X11Connection {
 public:
  X11Connection();
  virtual ~X11Connection();
  X11Connection(const X11Connection&) = delete;
  X11Connection& operator=(const X11Connection&) = delete;

  void dispatch();
  void add(Window window, X11Target& target) { targets[window] = &target; }
  /// What is told of `inner`, which another connection has put into the window, is told to it.
  void addInner(Window inner, Window window) { inners[inner] = window; }
  void remove(Window window);

  [[nodiscard]] X11Cursor cursor(Cursor which);
  [[nodiscard]] double scale() const { return currentScale; }
  /// When the user last did something, by the server's clock.
  [[nodiscard]] Time lastTime() const { return newestTime; }
  /// Number by which events of the second input extension are known; 0 without it.
  [[nodiscard]] int inputExtension() const { return inputOpcode; }

  X11Display display;
  X11Selections selections{display};
  X11InputMethod inputMethod{display};

 private:
  friend class X11Told;

  void handleNext();
  void handOut(XEvent& event, Window window);
  void noteTime(const XEvent& event);
  [[nodiscard]] bool isFiltered(XEvent& event);
  void readScale();
  void loseAll();

  std::map<Cursor, X11Cursor> cursors;
  std::map<Window, X11Target*> targets;
  std::map<Window, Window> inners;
  Window moved = None;  // has moves to tell
  double currentScale = 1.0;
  Time newestTime = CurrentTime;
  int inputOpcode = 0;
  std::optional<X11Guard> whileDispatching;
  bool isDispatching = false;
};

/// The listener of a window, which is called without the guard of the dispatch: programs that
/// others' code starts there, and handlers that it sets, are none of our business. It may end all
/// that is ours but the connection.
class X11Told {
 public:
  X11Told(std::shared_ptr<X11Connection> ofProcess, WindowListener& whoIsTold)
      : connection(std::move(ofProcess)), listener(whoIsTold) {}

  /// Lasts as long as the call that it is made for.
  class Call {
   public:
    explicit Call(const X11Told& of)
        : connection(of.connection),
          listener(of.listener),
          wasGuarded(connection->whileDispatching.has_value()) {
      connection->whileDispatching.reset();
    }
    ~Call() {
      if (wasGuarded) connection->whileDispatching.emplace();
    }
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;
    WindowListener* operator->() const { return &listener; }

   private:
    const std::shared_ptr<X11Connection> connection;
    WindowListener& listener;
    const bool wasGuarded;
  };
  [[nodiscard]] Call operator->() const { return Call(*this); }

 private:
  const std::shared_ptr<X11Connection> connection;
  WindowListener& listener;
};
