#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "platform/linux/x11_display.h"

/// What is copied and dropped between programs: bytes that the owner of a selection hands to who
/// asks. Long ones go in pieces. A program that no longer answers is given up.
/// Threads: the message thread.
class X11Selections {
 public:
  /// Empty bytes where nobody had any, or nobody answered.
  using Receive = std::function<void(const std::string& bytes)>;

  explicit X11Selections(X11Display& connection) : display(connection) {}

  /// Other programs get `text`, UTF-8, from now on.
  void own(Atom selection, std::string text, Time time);
  /// Asks for the first of `forms` that the owner has. The answer comes by `handle` or `tick`, a
  /// second after the owner was last heard at the latest. Another question for the same window and
  /// selection is of no effect until then. `window` must be told of changes of its properties.
  void ask(Window window, Atom selection, std::vector<Atom> forms, Time time, Receive receive);
  /// Nobody waits for answers any more.
  void forget(Window window);

  /// Whether the event was about this. May call a `Receive`, and so may `tick`.
  bool handle(const XEvent& event);
  void tick();

 private:
  using Clock = std::chrono::steady_clock;
  struct Question {
    Window window;
    Atom selection;
    std::vector<Atom> forms;  // still to be tried
    Time time;
    Receive receive;
    Clock::time_point deadline;
    std::string bytes;
    bool isInPieces = false;
  };
  struct Delivery {
    Window window;
    Atom property;
    Atom type;
    std::string bytes;
    std::size_t sent = 0;
    Clock::time_point deadline;
  };
  struct Owned {
    std::string text;
    Time time;
  };

  [[nodiscard]] Question* questionOf(Window window, Atom selection);
  void tryNextForm(Question& question);
  void receivePiece(Question& question);
  /// `bytes`: of the caller's own.
  void finish(const Question& question, const std::string& bytes);
  bool answer(const XSelectionRequestEvent& request);
  [[nodiscard]] Atom writeAnswers(const XSelectionRequestEvent& request, const Owned& owned);
  [[nodiscard]] Atom writeAnswer(const XSelectionRequestEvent& request, const Owned& owned);
  void deliver(Window window, Atom property, Atom type, std::string bytes);
  bool sendPiece(Window window, Atom property);

  X11Display& display;
  Window owner = None;  // of what others may ask for
  std::map<Atom, Owned> texts;
  std::vector<Question> questions;
  std::vector<Delivery> deliveries;
};

/// All that a property of a window holds; removes it.
[[nodiscard]] std::string takeProperty(Display* display, Window window, Atom property, Atom& type);
