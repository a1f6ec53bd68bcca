#include "platform/linux/x11_connection.h"

#include <algorithm>
#include <cstdlib>
#include <string>

#include "platform/user_folders.h"

namespace {

constexpr int kMostEvents = 2000;  // of one round, so that others get their turn
constexpr double kMostScale = 8.0;

X11Cursor loadCursor(Display* display, Cursor which) {
  switch (which) {
    case Cursor::kArrow:
      return XcursorLibraryLoadCursor(display, "left_ptr");
    case Cursor::kHand:
      return XcursorLibraryLoadCursor(display, "hand2");
    case Cursor::kText:
      return XcursorLibraryLoadCursor(display, "xterm");
    case Cursor::kSizeHorizontal:
      return XcursorLibraryLoadCursor(display, "sb_h_double_arrow");
    case Cursor::kSizeDiagonal:
      return XcursorLibraryLoadCursor(display, "bottom_right_corner");
    case Cursor::kMove:
      return XcursorLibraryLoadCursor(display, "fleur");
    case Cursor::kForbidden:
      return XcursorLibraryLoadCursor(display, "X_cursor");
    case Cursor::kHidden:
      break;
  }
  const char nothing = 0;
  XColor black{};
  const Pixmap empty = XCreateBitmapFromData(display, DefaultRootWindow(display), &nothing, 1, 1);
  const X11Cursor hidden = XCreatePixmapCursor(display, empty, empty, &black, &black, 0, 0);
  XFreePixmap(display, empty);
  return hidden;
}

bool isMove(const XEvent& event, int inputOpcode) {
  return event.type == MotionNotify ||
         (event.type == GenericEvent && inputOpcode != 0 &&
          event.xcookie.extension == inputOpcode && event.xcookie.evtype == XI_Motion);
}

}  // namespace

X11Connection::X11Connection() : display("") {
  if (!display.isAlive()) return;
  const X11Guard guard;
  XSelectInput(display, DefaultRootWindow(static_cast<Display*>(display)), PropertyChangeMask);
  XkbSetDetectableAutoRepeat(display, True, nullptr);
  int opcode = 0;
  int event = 0;
  int error = 0;
  int major = 2;
  int minor = 2;
  if (XQueryExtension(display, "XInputExtension", &opcode, &event, &error) != 0 &&
      XIQueryVersion(display, &major, &minor) == Success && major * 10 + minor >= 21) {
    inputOpcode = opcode;
  }
  readScale();
}

X11Connection::~X11Connection() {
  const X11Guard guard;
  if (!display.isAlive()) return;
  for (const auto& [which, cursor] : cursors) XFreeCursor(display, cursor);
}

void X11Connection::remove(Window window) {
  targets.erase(window);
  std::erase_if(inners, [window](const auto& inner) { return inner.second == window; });
  selections.forget(window);
  if (moved == window) moved = None;
}

X11Cursor X11Connection::cursor(Cursor which) {
  const auto [place, isNew] = cursors.try_emplace(which, None);
  if (isNew) place->second = loadCursor(display, which);
  return place->second;
}

void X11Connection::dispatch() {
  if (isDispatching) return;
  isDispatching = true;
  whileDispatching.emplace();
  for (int i = 0; i < kMostEvents && display.isAlive() && XPending(display) > 0; ++i) handleNext();
  if (const auto waiting = targets.find(moved); waiting != targets.end()) {
    moved = None;
    waiting->second->tellMove();
  }
  if (display.isAlive()) {
    selections.tick();
    XFlush(display);
  }
  if (!display.isAlive()) loseAll();
  whileDispatching.reset();
  isDispatching = false;
}

void X11Connection::handleNext() {
  XEvent event;
  XNextEvent(display, &event);
  noteTime(event);
  if (isFiltered(event)) return;
  if (event.type == GenericEvent) {
    if (event.xcookie.extension == inputOpcode && XGetEventData(display, &event.xcookie) != 0) {
      if (event.xcookie.evtype == XI_Motion || event.xcookie.evtype == XI_ButtonPress ||
          event.xcookie.evtype == XI_ButtonRelease) {
        const auto& device = *static_cast<const XIDeviceEvent*>(event.xcookie.data);
        newestTime = device.time;
        handOut(event, device.event);
      }
      XFreeEventData(display, &event.xcookie);
    }
    return;
  }
  if (event.type == MappingNotify) {
    XRefreshKeyboardMapping(&event.xmapping);
  } else if (event.type == PropertyNotify && event.xproperty.atom == XA_RESOURCE_MANAGER) {
    readScale();
  } else if (!selections.handle(event)) {
    handOut(event, event.xany.window);
  }
}

bool X11Connection::isFiltered(XEvent& event) {
  if (event.type == KeyPress || event.type == KeyRelease) {
    const auto target = targets.find(event.xkey.window);
    if (target != targets.end() && !target->second->isForUs(event.xkey)) return false;
  }
  return XFilterEvent(&event, None) != 0;
}

void X11Connection::handOut(XEvent& event, Window window) {
  if (const auto inner = inners.find(window); inner != inners.end()) window = inner->second;
  const bool isMoving = isMove(event, inputOpcode);
  if (moved != None && !(isMoving && moved == window)) {
    const auto waiting = targets.find(moved);
    moved = None;
    if (waiting != targets.end()) waiting->second->tellMove();
  }
  const auto target = targets.find(window);
  if (target == targets.end()) return;
  if (isMoving) moved = window;
  target->second->handle(event);
}

void X11Connection::noteTime(const XEvent& event) {
  switch (event.type) {
    case KeyPress:
    case KeyRelease:
      newestTime = event.xkey.time;
      break;
    case ButtonPress:
    case ButtonRelease:
      newestTime = event.xbutton.time;
      break;
    case MotionNotify:
      newestTime = event.xmotion.time;
      break;
    case EnterNotify:
    case LeaveNotify:
      newestTime = event.xcrossing.time;
      break;
    case PropertyNotify:
      newestTime = event.xproperty.time;
      break;
    default:
      break;
  }
}

void X11Connection::readScale() {
  // As it is now: what the library tells is what it was when the connection was made.
  unsigned char* data = nullptr;
  Atom type = None;
  int format = 0;
  unsigned long count = 0;
  unsigned long left = 0;
  constexpr long kMostWords = 256 * 1024;
  XGetWindowProperty(display, DefaultRootWindow(static_cast<Display*>(display)),
                     XA_RESOURCE_MANAGER, 0, kMostWords, False, XA_STRING, &type, &format, &count,
                     &left, &data);
  const std::string resources =
      "\n" + (data == nullptr ? "" : std::string(reinterpret_cast<const char*>(data), count));
  if (data != nullptr) XFree(data);
  constexpr std::string_view kName = "\nXft.dpi:";
  const std::size_t at = resources.find(kName);
  double wanted = std::atof(environmentText("GDK_SCALE").c_str());
  if (at != std::string::npos) {
    wanted = std::max(wanted, std::atof(resources.c_str() + at + kName.size()) / 96.0);
  }
  wanted = wanted >= 1.0 ? std::min(wanted, kMostScale) : 1.0;  // also for what is no number
  if (wanted == currentScale) return;
  currentScale = wanted;
  std::vector<Window> windows;
  for (const auto& [window, target] : targets) windows.push_back(window);
  for (const Window window : windows) {
    if (const auto target = targets.find(window); target != targets.end()) {
      target->second->scaleChanged();
    }
  }
}

void X11Connection::loseAll() {
  while (!targets.empty()) {
    X11Target& target = *targets.begin()->second;
    remove(targets.begin()->first);
    target.displayLost();
  }
}
