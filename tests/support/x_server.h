#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

/// A display of one test, shown nowhere, that `DISPLAY` names while it lives. 640 by 480 pixels.
class XServer {
 public:
  /// `lacking`: extensions that it does without.
  explicit XServer(const std::vector<std::string>& lacking = {});
  ~XServer();
  XServer(const XServer&) = delete;
  XServer& operator=(const XServer&) = delete;

  void kill();

 private:
  pid_t process;
};
