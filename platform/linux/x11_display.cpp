#include "platform/linux/x11_display.h"

#include <poll.h>

#include <algorithm>
#include <atomic>
#include <ctime>
#include <mutex>
#include <vector>

// Extends the library for one connection; has macros with common names, so nothing comes after it.
#define Cursor X11Cursor
#include <X11/Xlibint.h>
#undef Cursor
#undef min
#undef max

namespace {

std::atomic<unsigned> errorCount{0};

Bool swallowError(Display* /*display*/, XErrorEvent* /*event*/, xError* /*wire*/) {
  errorCount.fetch_add(1, std::memory_order_relaxed);
  return False;
}

void noteLoss(Display* display, void* isLost) {
  *static_cast<bool*>(isLost) = true;
  // The library expects the process to end, and keeps the connection from other threads for good.
  // It goes on here instead as if nothing had been changed about its locks.
  XUnlockDisplay(display);
  LockDisplay(display);
}

/// The handler of the process, while a guard lives.
class LossHandler {
 public:
  void enter() {
    const std::lock_guard lock(mutex);
    if (guards++ > 0) return;
    const XIOErrorHandler current = XSetIOErrorHandler(ignore);
    if (current != ignore) before = current;
  }
  void leave() {
    const std::lock_guard lock(mutex);
    if (--guards > 0) return;
    const XIOErrorHandler current = XSetIOErrorHandler(before);
    if (current != ignore) XSetIOErrorHandler(current);  // somebody set theirs meanwhile
  }
  void add(Display* display) {
    const std::lock_guard lock(mutex);
    own.push_back(display);
  }
  void remove(Display* display) {
    const std::lock_guard lock(mutex);
    std::erase(own, display);
  }

 private:
  static int ignore(Display* display);

  std::mutex mutex;
  int guards = 0;
  XIOErrorHandler before = nullptr;
  std::vector<Display*> own;
};

LossHandler& lossHandler() {
  static LossHandler handler;
  return handler;
}

int LossHandler::ignore(Display* display) {
  LossHandler& handler = lossHandler();
  std::unique_lock lock(handler.mutex);
  const bool isOwn =
      std::find(handler.own.begin(), handler.own.end(), display) != handler.own.end();
  const XIOErrorHandler other = handler.before;
  lock.unlock();
  return isOwn ? 0 : other(display);
}

sigset_t pipeSignal() noexcept {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, SIGPIPE);
  return set;
}

}  // namespace

X11Guard::X11Guard() noexcept {
  sigset_t pending;
  sigpending(&pending);
  wasPending = sigismember(&pending, SIGPIPE) == 1;
  const sigset_t pipe = pipeSignal();
  pthread_sigmask(SIG_BLOCK, &pipe, &before);
  lossHandler().enter();
}

X11Guard::~X11Guard() {
  lossHandler().leave();
  const sigset_t pipe = pipeSignal();
  const timespec now{};
  if (!wasPending) sigtimedwait(&pipe, nullptr, &now);
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

X11Display::X11Display(const std::string& name)
    : display(XOpenDisplay(name.empty() ? nullptr : name.c_str())) {
  if (display == nullptr) return;
  lossHandler().add(display);
  for (int code = 1; code < 256; ++code) XESetWireToError(display, code, swallowError);
  XSetIOErrorExitHandler(display, noteLoss, &isLost);
}

X11Display::~X11Display() {
  // What is left of one whose server has gone stays: the library may have left it locked.
  if (!isAlive()) return;
  const X11Guard guard;
  XCloseDisplay(display);
  lossHandler().remove(display);
}

bool X11Display::isAlive() {
  if (display == nullptr || isLost) return false;
  // Asked of the system before the library meets the loss, and tells the process's handler.
  pollfd connection{ConnectionNumber(display), 0, 0};
  if (poll(&connection, 1, 0) > 0) isLost = true;
  return !isLost;
}

unsigned X11Display::errors() noexcept { return errorCount.load(std::memory_order_relaxed); }

Atom X11Display::atom(const std::string& name) {
  const auto [place, isNew] = atoms.try_emplace(name, None);
  if (isNew) place->second = XInternAtom(display, name.c_str(), False);
  return place->second;
}
