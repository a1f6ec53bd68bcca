#include "platform/linux/x11_window.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "platform/linux/x11_gl_context.h"

namespace {

constexpr long kEvents = ExposureMask | StructureNotifyMask | ButtonPressMask | ButtonReleaseMask |
                         PointerMotionMask | KeyPressMask | KeyReleaseMask | FocusChangeMask |
                         EnterWindowMask | LeaveWindowMask | PropertyChangeMask;
constexpr unsigned kFirstWheelButton = 4;  // up, down, left, right
constexpr unsigned kLastWheelButton = 7;

/// The screen's own where pictures fit it, else the first that they do; false without one.
bool findVisual(Display* display, XVisualInfo& found) {
  const int screen = DefaultScreen(display);
  const auto fits = [](const XVisualInfo& visual) {
    return (visual.depth == 24 || visual.depth == 32) && visual.red_mask == 0xFF0000 &&
           visual.green_mask == 0xFF00 && visual.blue_mask == 0xFF;
  };
  XVisualInfo wanted{};
  wanted.visualid = XVisualIDFromVisual(DefaultVisual(display, screen));
  int count = 0;
  XVisualInfo* const own = XGetVisualInfo(display, VisualIDMask, &wanted, &count);
  if (own != nullptr) found = *own;
  if (own != nullptr) XFree(own);
  if (count > 0 && fits(found)) return true;
  for (const int depth : {24, 32}) {
    if (XMatchVisualInfo(display, screen, depth, TrueColor, &found) != 0 && fits(found))
      return true;
  }
  return false;
}

unsigned pixels(int length) { return static_cast<unsigned>(std::max(length, 1)); }

CButton buttonOf(unsigned number) {
  return number == 1 ? kLButton : number == 2 ? kMButton : kRButton;
}

CButtonState buttonsOf(unsigned state) {
  std::uint32_t bits = modifiersOf(state).all();
  if ((state & Button1Mask) != 0) bits |= kLButton;
  if ((state & Button2Mask) != 0) bits |= kMButton;
  if ((state & Button3Mask) != 0) bits |= kRButton;
  return bits;
}

/// As the events of the first input extension would tell it.
unsigned stateOf(const XIDeviceEvent& event) {
  auto state = static_cast<unsigned>(event.mods.effective) & 0xFF;
  for (int button = 1; button <= 3 && button < event.buttons.mask_len * 8; ++button) {
    if (XIMaskIsSet(event.buttons.mask, button)) state |= 1U << (button + 7);  // Button1Mask and on
  }
  return state;
}

DevicePoint pointOf(int x, int y) { return {static_cast<double>(x), static_cast<double>(y)}; }

}  // namespace

std::unique_ptr<X11Window> X11Window::open(std::shared_ptr<X11Connection> connection, Window parent,
                                           const std::string& title, int width, int height,
                                           WindowListener& listener) {
  const X11Guard guard;
  X11Display& display = connection->display;
  XVisualInfo visual{};
  XWindowAttributes attributes;
  if (!display.isAlive() || !findVisual(display, visual)) return nullptr;
  const Window root = RootWindow(static_cast<Display*>(display), visual.screen);
  const Window inside = parent == None ? root : parent;
  if (XGetWindowAttributes(display, inside, &attributes) == 0) return nullptr;

  XSetWindowAttributes own{};
  own.event_mask = kEvents;
  // Black where there is no picture yet, or none so large; what there is stays when it grows.
  own.background_pixel = 0;
  own.bit_gravity = NorthWestGravity;
  // A parent of another depth needs colours and border told.
  own.colormap = XCreateColormap(display, root, visual.visual, AllocNone);
  const Window window = XCreateWindow(
      display, inside, 0, 0, pixels(width), pixels(height), 0, visual.depth, InputOutput,
      visual.visual, CWColormap | CWBorderPixel | CWEventMask | CWBackPixel | CWBitGravity, &own);
  const Made made{parent, window, visual, own.colormap, std::max(width, 1), std::max(height, 1)};
  std::unique_ptr<X11Window> opened(new X11Window(std::move(connection), made, listener));
  if (parent == None) opened->setProperties();
  if (parent == None) opened->setTitle(title);
  XMapWindow(display, window);
  XFlush(display);
  return opened;
}

X11Window::X11Window(std::shared_ptr<X11Connection> ofProcess, const Made& made,
                     WindowListener& whoIsTold)
    : connection(std::move(ofProcess)),
      display(connection->display),
      parent(made.parent),
      window(made.window),
      colours(made.colours),
      listener(connection, whoIsTold),
      width(made.width),
      height(made.height) {
  connection->add(window, *this);
  picture.emplace(display, window, made.visual.visual, made.visual.depth);
  keys.emplace(display, connection->inputMethod, window);
  drop.emplace(display, connection->selections, window, listener);
  if (connection->inputExtension() == 0) return;
  // Instead of the first extension's, so that smooth wheels are heard.
  std::array<unsigned char, XIMaskLen(XI_LASTEVENT)> bits{1 << XI_ButtonPress |
                                                          1 << XI_ButtonRelease | 1 << XI_Motion};
  XIEventMask mask{XIAllMasterDevices, static_cast<int>(bits.size()), bits.data()};
  XISelectEvents(display, window, &mask, 1);
}

X11Window::~X11Window() {
  if (!isThere()) return;
  const X11Guard guard;
  const Window own = window;
  giveFocusBack();
  forget();
  XDestroyWindow(display, own);
  XFlush(display);
}

void X11Window::forget() {
  target->isGone = true;
  drop.reset();
  keys.reset();
  picture.reset();
  if (display.isAlive()) XFreeColormap(display, colours);
  connection->remove(window);
  window = None;
}

void X11Window::displayLost() {
  forget();
  listener->destroyed();
}

void X11Window::setProperties() {
  const Window own = window;
  Atom close = display.atom("WM_DELETE_WINDOW");
  XSetWMProtocols(display, own, &close, 1);
  std::array<char, 256> machine{};
  gethostname(machine.data(), machine.size() - 1);
  char* const machineName = machine.data();
  XTextProperty text{};
  if (XStringListToTextProperty(const_cast<char**>(&machineName), 1, &text) != 0) {
    XSetWMClientMachine(display, own, &text);
    XFree(text.value);
  }
  const long process = getpid();
  XChangeProperty(display, own, display.atom("_NET_WM_PID"), XA_CARDINAL, 32, PropModeReplace,
                  reinterpret_cast<const unsigned char*>(&process), 1);
  std::string name = "corvanthelis";
  std::string kind = "Corvanthelis";
  XClassHint hint{name.data(), kind.data()};
  XSetClassHint(display, own, &hint);
  XWMHints wishes{};
  wishes.flags = InputHint;
  wishes.input = True;
  XSetWMHints(display, own, &wishes);
  setSizeHints(width, height);
}

void X11Window::setSizeHints(int newWidth, int newHeight) {
  XSizeHints hints{};
  // Its size is the editor's alone: a corner of the surface is for pulling.
  hints.flags = PSize | PMinSize | PMaxSize;
  hints.width = hints.min_width = hints.max_width = newWidth;
  hints.height = hints.min_height = hints.max_height = newHeight;
  XSetWMNormalHints(display, window, &hints);
}

void X11Window::resize(int newWidth, int newHeight) {
  if (!isThere()) return;
  const X11Guard guard;
  if (parent == None) setSizeHints(newWidth, newHeight);
  XResizeWindow(display, window, pixels(newWidth), pixels(newHeight));
  XFlush(display);
}

void X11Window::setTitle(const std::string& title) {
  if (!isThere()) return;
  const X11Guard guard;
  const Atom utf8 = display.atom("UTF8_STRING");
  const auto* const bytes = reinterpret_cast<const unsigned char*>(title.data());
  for (const Atom name : {display.atom("_NET_WM_NAME"), static_cast<Atom>(XA_WM_NAME)}) {
    XChangeProperty(display, window, name, utf8, 8, PropModeReplace, bytes,
                    static_cast<int>(title.size()));
  }
  XFlush(display);
}

void X11Window::setCursor(Cursor cursor) {
  if (!isThere()) return;
  const X11Guard guard;
  XDefineCursor(display, window, connection->cursor(cursor));
  XFlush(display);
}

void X11Window::warpPointer(DevicePoint where) {
  if (!isThere()) return;
  const X11Guard guard;
  const DevicePoint whole{std::round(where.x), std::round(where.y)};
  pointer.warp(whole, NextRequest(static_cast<Display*>(display)));
  XWarpPointer(display, None, window, 0, 0, 0, 0, static_cast<int>(whole.x),
               static_cast<int>(whole.y));
  XFlush(display);
}

void X11Window::grabMouse(bool on) {
  if (!isThere() || on == isGrabbing) return;
  const X11Guard guard;
  isGrabbing = on;
  if (on) {
    XGrabPointer(
        display, window, False,
        ButtonPressMask | ButtonReleaseMask | PointerMotionMask | EnterWindowMask | LeaveWindowMask,
        GrabModeAsync, GrabModeAsync, None, None, connection->lastTime());
  } else {
    XUngrabPointer(display, CurrentTime);
    // What wheels have turned meanwhile came as presses of buttons.
    if (connection->inputExtension() != 0) axes.readAll(display);
  }
  XFlush(display);
}

void X11Window::takeFocus() {
  if (!isThere() || hasFocus) return;
  const X11Guard guard;
  Window current = None;
  int revert = 0;
  XGetInputFocus(display, &current, &revert);
  if (current == window) return;
  focusBefore = current;
  XSetInputFocus(display, window, RevertToParent, connection->lastTime());
  XFlush(display);
}

void X11Window::giveFocusBack() {
  if (!isThere() || parent == None) return;
  const X11Guard guard;
  Window current = None;
  int revert = 0;
  XGetInputFocus(display, &current, &revert);
  if (current != window) return;  // somebody else took it
  const unsigned before = X11Display::errors();
  XSetInputFocus(display, focusBefore == None ? parent : focusBefore, RevertToParent,
                 connection->lastTime());
  XSync(display, False);
  // Who had it may have gone.
  if (X11Display::errors() != before) {
    XSetInputFocus(display, parent, RevertToParent, connection->lastTime());
  }
  XFlush(display);
}

void X11Window::setCaret(DevicePoint where) {
  if (!isThere()) return;
  const X11Guard guard;
  keys->setCaret(static_cast<short>(where.x), static_cast<short>(where.y));
}

Atom X11Window::atomOf(Clipboard which) {
  return which == Clipboard::kPrimary ? static_cast<Atom>(XA_PRIMARY) : display.atom("CLIPBOARD");
}

void X11Window::putClipboard(Clipboard which, std::string text) {
  if (!isThere()) return;
  const X11Guard guard;
  connection->selections.own(atomOf(which), std::move(text), connection->lastTime());
  XFlush(display);
}

void X11Window::askClipboard(Clipboard which) {
  if (!isThere()) return;
  const X11Guard guard;
  connection->selections.ask(
      window, atomOf(which),
      {display.atom("UTF8_STRING"), display.atom("text/plain;charset=utf-8"), XA_STRING},
      connection->lastTime(), [this](const std::string& text) { listener->clipboardText(text); });
  XFlush(display);
}

void X11Window::show(const PixelRows& image, const DeviceRect& part) {
  if (!isThere()) return;
  const X11Guard guard;
  picture->show(image, part);
  XFlush(display);
}

std::unique_ptr<GlContext> X11Window::makeGlContext(int samples) {
  if (!isThere()) return nullptr;
  auto context = makeX11EglContext(display, window, target, samples);
  if (context == nullptr) context = makeX11GlxContext(display, window, target, samples);
  if (const Window surface = target->surface; surface != None) {
    // It covers the window, which therefore hears nothing of what has to be shown again.
    const X11Guard guard;
    connection->addInner(surface, window);
    XSelectInput(display, surface, ExposureMask);
    XFlush(display);
  }
  return context;
}

void X11Window::handle(XEvent& event) {
  switch (event.type) {
    case GenericEvent:
      handleDevice(*static_cast<const XIDeviceEvent*>(event.xcookie.data));
      break;
    case ButtonPress:
    case ButtonRelease:
      handleButton(pointOf(event.xbutton.x, event.xbutton.y), event.xbutton.button,
                   event.xbutton.state, event.type == ButtonPress, event.xbutton.time);
      break;
    case MotionNotify:
      handleMove(pointOf(event.xmotion.x, event.xmotion.y), event.xmotion.state,
                 event.xmotion.serial);
      break;
    case EnterNotify:
    case LeaveNotify:
      handleCrossing(event.xcrossing);
      break;
    case KeyPress:
    case KeyRelease:
      handleKey(event.xkey);
      break;
    case FocusIn:
    case FocusOut:
      handleFocus(event.xfocus);
      break;
    case ConfigureNotify:
      handleSize(event);
      break;
    case Expose:
      handleExposure(event.xexpose);
      break;
    case ClientMessage:
      handleMessage(event.xclient);
      break;
    case DestroyNotify:
      if (event.xdestroywindow.window == window) displayLost();
      break;
    default:
      break;
  }
}

void X11Window::handleDevice(const XIDeviceEvent& event) {
  const DevicePoint where{event.event_x, event.event_y};
  const unsigned state = stateOf(event);
  if (event.evtype != XI_Motion) {
    const auto button = static_cast<unsigned>(event.detail);
    const bool isWheel = button >= kFirstWheelButton && button <= kLastWheelButton;
    // A smooth wheel told its steps already, but for one that was plugged in just now.
    const bool isEmulated = (event.flags & XIPointerEmulated) != 0;
    if (isWheel && isEmulated && axes.knows(event.sourceid)) return;
    handleButton(where, button, state, event.evtype == XI_ButtonPress, event.time);
    return;
  }
  handleMove(where, state, event.serial);
  const float steps = axes.stepsOf(event);
  if (steps == 0.0F) return;
  const std::weak_ptr<void> alive = life;
  tellMove();
  if (!alive.expired() && window != None) listener->wheel(pointer.place(), steps, buttonsOf(state));
}

void X11Window::handleButton(DevicePoint where, unsigned number, unsigned state, bool isDown,
                             Time time) {
  if (number >= kFirstWheelButton && number <= kLastWheelButton) {
    const bool isUp = number % 2 == 0;  // or to the left
    if (isDown) listener->wheel(where, isUp ? 1.0F : -1.0F, buttonsOf(state));
    return;
  }
  if (number < 1 || number > kLastWheelButton) return;
  const CButton changed = buttonOf(number);
  const std::uint32_t others = buttonsOf(state).all() & ~static_cast<std::uint32_t>(changed);
  if (!isDown) {
    listener->mouseUp(where, changed, others);
    return;
  }
  // Nobody else does it for a window inside another.
  if (parent != None) takeFocus();
  const bool isDouble = doubleClicks.isSecond(where, changed, time);
  listener->mouseDown(where, changed, others | changed | (isDouble ? kDoubleClick : 0U));
}

void X11Window::handleMove(DevicePoint where, unsigned state, unsigned long serial) {
  moveButtons = buttonsOf(state);
  if (pointer.moveTo(where, serial)) hasMoved = true;
}

void X11Window::tellMove() {
  if (!std::exchange(hasMoved, false)) return;
  listener->mouseMoved(pointer.place(), moveButtons);
}

bool X11Window::isForUs(const XKeyEvent& event) const {
  // Keys come from under the pointer, too, while a window of the host has the focus. Some hosts
  // keep it and send us what we are to have.
  return hasFocus || parent == None || event.send_event != 0;
}

void X11Window::handleKey(XKeyEvent& event) {
  if (!isForUs(event)) {
    sendToHost(event);
    return;
  }
  const KeyEvent key = keys->read(event);
  const std::weak_ptr<void> alive = life;
  const bool isUsed = event.type == KeyPress ? listener->keyDown(key) : listener->keyUp(key);
  if (isUsed || alive.expired() || window == None || parent == None) return;
  // One that the host sent it would get again without end; one that the input method made has no
  // place on the keyboard.
  if (event.send_event == 0 && event.keycode != 0) sendToHost(event);
}

void X11Window::sendToHost(const XKeyEvent& event) {
  XEvent onward{};
  onward.xkey = event;
  onward.xkey.window = parent;
  onward.xkey.subwindow = None;
  XSendEvent(display, parent, False, NoEventMask, &onward);
}

void X11Window::handleCrossing(const XCrossingEvent& event) {
  if (event.type == EnterNotify) {
    if (connection->inputExtension() != 0) axes.readAll(display);
    return;
  }
  // Into what we draw to is not out; with a button down the window hears of the mouse all the same.
  const bool isInside = event.detail == NotifyInferior || event.mode == NotifyGrab;
  const bool isHeld = buttonsOf(event.state).buttons() != 0 && event.mode != NotifyUngrab;
  if (!isInside && !isHeld && !isGrabbing) listener->mouseLeft();
}

void X11Window::handleFocus(const XFocusChangeEvent& event) {
  const bool has = event.type == FocusIn;
  const bool isPassing = event.mode == NotifyGrab || event.mode == NotifyUngrab;
  const bool isOther = event.detail == NotifyPointer || event.detail == NotifyInferior ||
                       event.detail == NotifyPointerRoot;
  if (isPassing || isOther || has == hasFocus) return;
  hasFocus = has;
  keys->setFocus(has);
  listener->focusChanged(has);
}

void X11Window::handleSize(XEvent& event) {
  // Many come while a corner is pulled.
  while (XCheckTypedWindowEvent(display, window, ConfigureNotify, &event) != 0) {
  }
  if (event.xconfigure.width == width && event.xconfigure.height == height) return;
  width = event.xconfigure.width;
  height = event.xconfigure.height;
  if (const Window surface = target->surface; surface != None) {
    XResizeWindow(display, surface, pixels(width), pixels(height));
  }
  listener->resized(width, height);
}

void X11Window::handleExposure(const XExposeEvent& event) {
  const DeviceRect part{event.x, event.y, event.x + event.width, event.y + event.height};
  if (exposure.right == 0) exposure = part;
  exposure = {std::min(exposure.left, part.left), std::min(exposure.top, part.top),
              std::max(exposure.right, part.right), std::max(exposure.bottom, part.bottom)};
  if (event.count == 0) listener->exposed(std::exchange(exposure, {}));
}

void X11Window::handleMessage(const XClientMessageEvent& message) {
  if (drop->handle(message)) return;
  const bool isProtocol = message.message_type == display.atom("WM_PROTOCOLS");
  if (isProtocol && static_cast<Atom>(message.data.l[0]) == display.atom("WM_DELETE_WINDOW")) {
    listener->closeAsked();
  }
}
