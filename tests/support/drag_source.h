#pragma once

#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <utility>

// Last, since its macros have common names.
#include "platform/linux/x11.h"

/// A program of another maker, from which files are dragged.
class DragSource {
 public:
  using Say = std::function<void(const std::string& text)>;

  explicit DragSource(Say whoHears)
      : say(std::move(whoHears)),
        display(XOpenDisplay(nullptr), XCloseDisplay),
        window(XCreateSimpleWindow(display.get(), DefaultRootWindow(display.get()), 0, 0, 1, 1, 0,
                                   0, 0)) {}

  void drag(Window toWindow, long x, long y, const std::string& theFiles) {
    target = toWindow;
    files = theFiles;
    XSetSelectionOwner(display.get(), atom("XdndSelection"), window, CurrentTime);
    send("XdndEnter", 5L << 24, static_cast<long>(atom("text/uri-list")), 0, 0);
    send("XdndPosition", 0, x << 16 | y, CurrentTime, static_cast<long>(atom("XdndActionCopy")));
  }
  void pump() {
    while (XPending(display.get()) > 0) {
      XEvent event;
      XNextEvent(display.get(), &event);
      if (event.type == SelectionRequest) answer(event.xselectionrequest);
      if (event.type == ClientMessage) hear(event.xclient);
    }
  }

 private:
  Atom atom(const char* name) { return XInternAtom(display.get(), name, False); }
  void send(const char* kind, long first, long second, long third, long fourth) {
    XEvent event{};
    event.xclient = {ClientMessage, 0, False, nullptr, target, atom(kind), 32, {}};
    const long words[] = {static_cast<long>(window), first, second, third, fourth};
    std::copy_n(words, 5, event.xclient.data.l);
    XSendEvent(display.get(), target, False, NoEventMask, &event);
    XFlush(display.get());
  }
  void hear(const XClientMessageEvent& message) {
    const bool isYes = (message.data.l[1] & 1) != 0;
    const bool isStatus = message.message_type == atom("XdndStatus");
    say((isStatus ? "status " : "finished ") + std::to_string(isYes));
    if (isStatus) send(isYes ? "XdndDrop" : "XdndLeave", 0, CurrentTime, 0, 0);
  }
  void answer(const XSelectionRequestEvent& request) {
    XChangeProperty(display.get(), request.requestor, request.property, request.target, 8,
                    PropModeReplace, reinterpret_cast<const unsigned char*>(files.data()),
                    static_cast<int>(files.size()));
    XEvent event{};
    event.xselection = {SelectionNotify,
                        0,
                        False,
                        nullptr,
                        request.requestor,
                        request.selection,
                        request.target,
                        request.property,
                        request.time};
    XSendEvent(display.get(), request.requestor, False, NoEventMask, &event);
    XFlush(display.get());
  }

  const Say say;
  const std::unique_ptr<Display, int (*)(Display*)> display;
  const Window window;
  Window target = None;
  std::string files;
};
