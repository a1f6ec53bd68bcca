#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/linux/x11_connection.h"

/// The files of a list of addresses, a line each; those on other machines are left out.
[[nodiscard]] std::vector<std::string> pathsOfUriList(std::string_view list);

/// A window that files can be dropped on, by the fifth version of what desktops agreed on.
class X11Drop {
 public:
  X11Drop(X11Display& connection, X11Selections& selections, Window ofWindow, X11Told whoIsTold);

  /// Whether the message was about this. Its listener may close the window.
  bool handle(const XClientMessageEvent& message);

 private:
  void enter(const XClientMessageEvent& message);
  void move(const XClientMessageEvent& message);
  void drop(const XClientMessageEvent& message);
  [[nodiscard]] long copyAction();
  void send(Window to, const char* kind, long flags, long second, bool withAction);

  X11Display& display;
  X11Selections& selections;
  const Window window;
  const X11Told listener;
  Window source = None;  // whose drag is over the window
  bool hasFiles = false;
  bool isAccepted = false;
  DevicePoint place;
  const std::shared_ptr<void> life = std::make_shared<char>('\0');  // seen to end by a callee
};
