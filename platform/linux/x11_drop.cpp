#include "platform/linux/x11_drop.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <memory>

namespace {

constexpr long kVersion = 5;

int digitOf(char letter) {
  if (letter >= '0' && letter <= '9') return letter - '0';
  if (letter >= 'a' && letter <= 'f') return letter - 'a' + 10;
  if (letter >= 'A' && letter <= 'F') return letter - 'A' + 10;
  return -1;
}

std::string decoded(std::string_view escaped) {
  std::string text;
  for (std::size_t i = 0; i < escaped.size(); ++i) {
    const bool isEscape = escaped[i] == '%' && i + 2 < escaped.size();
    const int high = isEscape ? digitOf(escaped[i + 1]) : -1;
    const int low = isEscape ? digitOf(escaped[i + 2]) : -1;
    if (high < 0 || low < 0) {
      text += escaped[i];
    } else {
      text += static_cast<char>(high * 16 + low);
      i += 2;
    }
  }
  return text;
}

bool isThisMachine(std::string_view host) {
  std::array<char, 256> name{};
  gethostname(name.data(), name.size() - 1);
  return host.empty() || host == "localhost" || host == name.data();
}

}  // namespace

std::vector<std::string> pathsOfUriList(std::string_view list) {
  std::vector<std::string> paths;
  while (!list.empty()) {
    const std::size_t end = std::min(list.find_first_of("\r\n"), list.size());
    std::string_view line = list.substr(0, end);
    list.remove_prefix(std::min(end + 1, list.size()));
    constexpr std::string_view kScheme = "file:";
    if (!line.starts_with(kScheme)) continue;
    line.remove_prefix(kScheme.size());
    if (line.starts_with("//")) {
      const std::size_t slash = std::min(line.find('/', 2), line.size());
      if (!isThisMachine(line.substr(2, slash - 2))) continue;
      line.remove_prefix(slash);
    }
    std::string path = decoded(line);
    if (path.starts_with('/') && path.find('\0') == std::string::npos) {
      paths.push_back(std::move(path));
    }
  }
  return paths;
}

X11Drop::X11Drop(X11Display& connection, X11Selections& selectionsOf, Window ofWindow,
                 X11Told whoIsTold)
    : display(connection),
      selections(selectionsOf),
      window(ofWindow),
      listener(std::move(whoIsTold)) {
  XChangeProperty(display, window, display.atom("XdndAware"), XA_ATOM, 32, PropModeReplace,
                  reinterpret_cast<const unsigned char*>(&kVersion), 1);
}

bool X11Drop::handle(const XClientMessageEvent& message) {
  const Atom kind = message.message_type;
  if (kind == display.atom("XdndEnter")) {
    enter(message);
    return true;
  }
  if (source == None || static_cast<Window>(message.data.l[0]) != source) return false;
  if (kind == display.atom("XdndPosition")) {
    move(message);
  } else if (kind == display.atom("XdndLeave")) {
    source = None;
    if (hasFiles) listener->dropLeft();
  } else if (kind == display.atom("XdndDrop")) {
    drop(message);
  } else {
    return false;
  }
  return true;
}

void X11Drop::enter(const XClientMessageEvent& message) {
  source = static_cast<Window>(message.data.l[0]);
  isAccepted = false;
  const auto wanted = static_cast<long>(display.atom("text/uri-list"));
  hasFiles = std::find(message.data.l + 2, message.data.l + 5, wanted) != message.data.l + 5;
  if ((message.data.l[1] & 1) == 0) return;
  // More kinds than a message holds.
  Atom type = None;
  int format = 0;
  unsigned long count = 0;
  unsigned long left = 0;
  unsigned char* data = nullptr;
  constexpr long kMostKinds = 4096;
  XGetWindowProperty(display, source, display.atom("XdndTypeList"), 0, kMostKinds, False, XA_ATOM,
                     &type, &format, &count, &left, &data);
  if (data == nullptr) return;
  const auto* const kinds = reinterpret_cast<const long*>(data);
  if (format == 32) hasFiles = std::find(kinds, kinds + count, wanted) != kinds + count;
  XFree(data);
}

void X11Drop::move(const XClientMessageEvent& message) {
  int x = 0;
  int y = 0;
  Window child = None;
  XTranslateCoordinates(display, DefaultRootWindow(static_cast<Display*>(display)), window,
                        static_cast<int>(message.data.l[2] >> 16 & 0xFFFF),
                        static_cast<int>(message.data.l[2] & 0xFFFF), &x, &y, &child);
  place = {static_cast<double>(x), static_cast<double>(y)};
  const std::weak_ptr<void> alive = life;
  const bool isGood = hasFiles && listener->dropMoved(place);
  if (alive.expired()) return;
  isAccepted = isGood;
  constexpr long kEveryMove = 2;
  send(source, "XdndStatus", (isAccepted ? 1 : 0) | kEveryMove, 0, isAccepted);
}

void X11Drop::drop(const XClientMessageEvent& message) {
  // Another drag may come in before the files have been told.
  const auto end = [this, from = source](const std::vector<std::string>& paths) {
    const bool isTaken = !paths.empty();
    send(from, "XdndFinished", isTaken ? 1 : 0, isTaken ? copyAction() : 0, false);
    XFlush(display);
    if (source == from) source = None;
    if (isTaken) {
      listener->filesDropped(place, paths);
    } else if (hasFiles) {
      listener->dropLeft();
    }
  };
  if (!isAccepted) {
    end({});
    return;
  }
  selections.ask(window, display.atom("XdndSelection"), {display.atom("text/uri-list")},
                 static_cast<Time>(message.data.l[2]),
                 [end](const std::string& list) { end(pathsOfUriList(list)); });
}

long X11Drop::copyAction() { return static_cast<long>(display.atom("XdndActionCopy")); }

void X11Drop::send(Window to, const char* kind, long flags, long second, bool withAction) {
  XEvent event{};
  XClientMessageEvent& message = event.xclient;
  message.type = ClientMessage;
  message.window = to;
  message.message_type = display.atom(kind);
  message.format = 32;
  message.data.l[0] = static_cast<long>(window);
  message.data.l[1] = flags;
  message.data.l[2] = second;
  message.data.l[4] = withAction ? copyAction() : 0;
  XSendEvent(display, to, False, NoEventMask, &event);
}
