#pragma once

#include <sys/types.h>

#include <string>

/// A display of one test, shown nowhere, that `DISPLAY` names while it lives. 640 by 480 pixels.
class XServer {
 public:
  XServer();
  ~XServer();
  XServer(const XServer&) = delete;
  XServer& operator=(const XServer&) = delete;

  void kill();

 private:
  pid_t process;
};
