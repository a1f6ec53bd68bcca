#include "platform/linux/x11_input_method.h"

#include <X11/keysym.h>

#include <algorithm>
#include <array>
#include <string>

namespace {

struct NamedKey {
  KeySym symbol;
  Key key;
};

constexpr NamedKey kKeys[] = {
    {XK_BackSpace, Key::kBack},
    {XK_Tab, Key::kTab},
    {XK_ISO_Left_Tab, Key::kTab},
    {XK_KP_Tab, Key::kTab},
    {XK_Clear, Key::kClear},
    {XK_KP_Begin, Key::kClear},
    {XK_Return, Key::kReturn},
    {XK_Pause, Key::kPause},
    {XK_Escape, Key::kEscape},
    {XK_space, Key::kSpace},
    {XK_KP_Space, Key::kSpace},
    {XK_End, Key::kEnd},
    {XK_KP_End, Key::kEnd},
    {XK_Home, Key::kHome},
    {XK_KP_Home, Key::kHome},
    {XK_Left, Key::kLeft},
    {XK_KP_Left, Key::kLeft},
    {XK_Up, Key::kUp},
    {XK_KP_Up, Key::kUp},
    {XK_Right, Key::kRight},
    {XK_KP_Right, Key::kRight},
    {XK_Down, Key::kDown},
    {XK_KP_Down, Key::kDown},
    {XK_Page_Up, Key::kPageUp},
    {XK_KP_Page_Up, Key::kPageUp},
    {XK_Page_Down, Key::kPageDown},
    {XK_KP_Page_Down, Key::kPageDown},
    {XK_Select, Key::kSelect},
    {XK_Print, Key::kPrint},
    {XK_KP_Enter, Key::kEnter},
    {XK_Sys_Req, Key::kSnapshot},
    {XK_Insert, Key::kInsert},
    {XK_KP_Insert, Key::kInsert},
    {XK_Delete, Key::kDelete},
    {XK_KP_Delete, Key::kDelete},
    {XK_Help, Key::kHelp},
    {XK_Menu, Key::kMenu},
};

Key keyOf(KeySym symbol) {
  for (const NamedKey& named : kKeys) {
    if (named.symbol == symbol) return named.key;
  }
  return Key::kNone;
}

/// 0 for what is no character, or one of the old tables of single alphabets.
char32_t characterOf(KeySym symbol) {
  if ((symbol >= 0x20 && symbol <= 0x7E) || (symbol >= 0xA0 && symbol <= 0xFF)) {
    return static_cast<char32_t>(symbol);
  }
  if (symbol >= XK_KP_Multiply && symbol <= XK_KP_9) {
    return static_cast<char32_t>(symbol - XK_KP_0 + '0');
  }
  return (symbol & 0xFF000000) == 0x01000000 ? static_cast<char32_t>(symbol & 0x00FFFFFF) : 0;
}

std::string toUtf8(char32_t character) {
  const auto part = [&](unsigned shift) {
    return static_cast<char>(0x80 | ((character >> shift) & 0x3F));
  };
  const auto lead = [&](unsigned mark, unsigned shift) {
    return static_cast<char>(mark | character >> shift);
  };
  if (character < 0x80) return {static_cast<char>(character)};
  if (character < 0x800) return {lead(0xC0, 6), part(0)};
  if (character < 0x10000) return {lead(0xE0, 12), part(6), part(0)};
  return {lead(0xF0, 18), part(12), part(6), part(0)};
}

/// What the key bears without modifiers; on a keyboard of another alphabet its Latin letter, if
/// there is one, since that is what commands are named by.
char32_t plainCharacter(Display* display, const XKeyEvent& event) {
  const auto code = static_cast<KeyCode>(event.keycode);
  const int own = XkbGroupForCoreState(event.state);
  char32_t first = 0;
  for (const int group : {own, 0, 1, 2, 3}) {
    const KeySym symbol = XkbKeycodeToKeysym(display, code, group, 0);
    KeySym lower = symbol;
    KeySym upper = symbol;
    XConvertCase(symbol, &lower, &upper);
    const char32_t character = characterOf(lower);
    if (character != 0 && character < 0x80) return character;
    if (first == 0) first = character;
  }
  return first;
}

}  // namespace

CButtonState modifiersOf(unsigned state) {
  std::uint32_t bits = 0;
  if ((state & ShiftMask) != 0) bits |= kShift;
  if ((state & ControlMask) != 0) bits |= kControl;
  if ((state & Mod1Mask) != 0) bits |= kAlt;
  if ((state & Mod4Mask) != 0) bits |= kApple;
  return bits;
}

X11InputMethod::~X11InputMethod() {
  if (method == nullptr || !display.isAlive()) return;
  const X11Guard guard;
  if (font != nullptr) XFreeFontSet(display, font);
  XCloseIM(method);
}

XIM X11InputMethod::get() {
  if (method != nullptr || isTried || !display.isAlive()) return method;
  isTried = true;
  // The user's choice of a method is read from the environment; what the host chose stays as it is.
  const char* const current = XSetLocaleModifiers(nullptr);
  const std::string before = current == nullptr ? "" : current;
  for (const char* const modifiers : {"", "@im=none"}) {
    XSetLocaleModifiers(modifiers);
    method = XOpenIM(display, nullptr, nullptr, nullptr);
    if (method != nullptr) break;
  }
  XSetLocaleModifiers(before.c_str());
  if (method == nullptr) return nullptr;
  ++opened;
  XIMCallback gone{reinterpret_cast<XPointer>(this), forget};
  XSetIMValues(method, XNDestroyCallback, &gone, nullptr);
  return method;
}

bool X11InputMethod::canShowBesideCaret() {
  XIMStyles* styles = nullptr;
  XGetIMValues(method, XNQueryInputStyle, &styles, nullptr);
  if (styles == nullptr) return false;
  const XIMStyle* const all = styles->supported_styles;
  const XIMStyle* const end = all + styles->count_styles;
  const bool can = std::find(all, end, XIMPreeditPosition | XIMStatusNothing) != end;
  XFree(styles);
  return can;
}

XIC X11InputMethod::makeContext(Window window) {
  if (get() == nullptr) return nullptr;
  XIC context = nullptr;
  if (canShowBesideCaret()) {
    // Such a context must have a font and a place, though the method may draw otherwise.
    if (font == nullptr) {
      char** missing = nullptr;
      int count = 0;
      font = XCreateFontSet(display, "fixed", &missing, &count, nullptr);
      if (missing != nullptr) XFreeStringList(missing);
    }
    XPoint spot{0, 0};
    if (font != nullptr) {
      XVaNestedList list = XVaCreateNestedList(0, XNSpotLocation, &spot, XNFontSet, font, nullptr);
      context =
          XCreateIC(method, XNInputStyle, XIMPreeditPosition | XIMStatusNothing, XNClientWindow,
                    window, XNFocusWindow, window, XNPreeditAttributes, list, nullptr);
      XFree(list);
    }
  }
  if (context != nullptr) return context;
  return XCreateIC(method, XNInputStyle, XIMPreeditNothing | XIMStatusNothing, XNClientWindow,
                   window, XNFocusWindow, window, nullptr);
}

void X11InputMethod::forget(XIM /*method*/, XPointer self, XPointer /*data*/) {
  auto& own = *reinterpret_cast<X11InputMethod*>(self);
  own.method = nullptr;
  own.isTried = false;
  ++own.opened;
}

X11Keys::X11Keys(X11Display& connection, X11InputMethod& method, Window ofWindow)
    : display(connection), inputMethod(method), window(ofWindow) {
  (void)get();
}

X11Keys::~X11Keys() { drop(); }

void X11Keys::drop() {
  if (context != nullptr && generation == inputMethod.generation() && display.isAlive()) {
    XDestroyIC(context);
  }
  context = nullptr;
}

XIC X11Keys::get() {
  (void)inputMethod.get();
  if (generation == inputMethod.generation()) return context;
  drop();
  generation = inputMethod.generation();
  context = inputMethod.makeContext(window);
  if (context == nullptr) return nullptr;
  // Some methods hear of keys going up, too, or of nothing else.
  unsigned long wanted = 0;
  XGetICValues(context, XNFilterEvents, &wanted, nullptr);
  XWindowAttributes attributes;
  if (XGetWindowAttributes(display, window, &attributes) != 0) {
    XSelectInput(display, window, attributes.your_event_mask | static_cast<long>(wanted));
  }
  if (hasFocus) XSetICFocus(context);
  return context;
}

void X11Keys::setFocus(bool has) {
  hasFocus = has;
  const XIC current = get();
  if (current == nullptr) return;
  if (has) {
    XSetICFocus(current);
  } else {
    XUnsetICFocus(current);
  }
}

void X11Keys::setCaret(short x, short y) {
  const XIC current = get();
  if (current == nullptr) return;
  XPoint spot{x, y};
  XVaNestedList list = XVaCreateNestedList(0, XNSpotLocation, &spot, nullptr);
  XSetICValues(current, XNPreeditAttributes, list, nullptr);
  XFree(list);
}

KeyEvent X11Keys::read(XKeyEvent& event) {
  KeySym symbol = NoSymbol;
  KeyEvent key;
  std::string text = textOf(event, symbol);
  key.modifiers = modifiersOf(event.state);
  key.key = keyOf(symbol);
  if (key.key == Key::kNone || key.key == Key::kSpace) {
    if (key.key == Key::kNone) key.character = plainCharacter(display, event);
    const bool isCommand = key.modifiers.has(kControl) || key.modifiers.has(kAlt);
    const bool isControl = text.size() == 1 && (static_cast<unsigned char>(text[0]) < 0x20 ||
                                                static_cast<unsigned char>(text[0]) == 0x7F);
    if (event.type == KeyPress && !isCommand && !isControl) key.text = std::move(text);
  }
  return key;
}

std::string X11Keys::textOf(XKeyEvent& event, KeySym& symbol) {
  std::array<char, 64> few{};
  const XIC current = event.type == KeyPress ? get() : nullptr;
  std::string text;
  if (current == nullptr) {
    XLookupString(&event, few.data(), static_cast<int>(few.size()), &symbol, nullptr);
  } else {
    Status status = XLookupNone;
    int count = Xutf8LookupString(current, &event, few.data(), static_cast<int>(few.size()),
                                  &symbol, &status);
    text.assign(few.data(), status == XBufferOverflow ? 0 : static_cast<std::size_t>(count));
    if (status == XBufferOverflow) {
      text.resize(static_cast<std::size_t>(count));
      count = Xutf8LookupString(current, &event, text.data(), count, &symbol, &status);
      text.resize(static_cast<std::size_t>(count));
    }
    if (status == XLookupChars || status == XLookupNone) symbol = NoSymbol;
  }
  // A process without a language of its own gets no letters beyond its alphabet from the method.
  const char32_t character = characterOf(symbol);
  return text.empty() && character >= 0x20 ? toUtf8(character) : text;
}
