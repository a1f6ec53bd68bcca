#pragma once

#include <string>

/// The message boxes of the window system. Message thread only.
class Dialogs {
 public:
  Dialogs() = default;
  virtual ~Dialogs() = default;
  Dialogs(const Dialogs&) = delete;
  Dialogs& operator=(const Dialogs&) = delete;

  /// Shows a box with a warning icon and returns when the user has closed it. Timers and other
  /// editors may run inside the call. UTF-8.
  virtual void showWarning(const std::string& caption, const std::string& message) = 0;
};
