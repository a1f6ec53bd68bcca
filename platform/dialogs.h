#pragma once

#include <string>

/// What a file dialog shows. Texts in UTF-8.
struct FileDialog {
  bool isOpen = true;  ///< true: chooses an existing file; false: a name to save under
  std::string title;
  std::string startFolder;   ///< a leading `~/` stands for the user's home; empty for any
  std::string proposedName;  ///< full path proposed for saving; empty for none
  std::string extension;     ///< without the dot: filters the list, and completes names without one
};

/// The message boxes and file dialogs of the window system. Message thread only. Timers and other
/// editors may run inside any call.
class Dialogs {
 public:
  Dialogs() = default;
  virtual ~Dialogs() = default;
  Dialogs(const Dialogs&) = delete;
  Dialogs& operator=(const Dialogs&) = delete;

  /// Shows a box with a warning icon; returns when the user has closed it. UTF-8.
  virtual void showWarning(const std::string& caption, const std::string& message) = 0;
  /// Asks with buttons OK and Cancel; returns whether OK was chosen. UTF-8.
  [[nodiscard]] virtual bool confirm(const std::string& caption, const std::string& message) = 0;
  /// Asks for a file. Returns whether the user chose one; if not, `resultPath` is untouched.
  [[nodiscard]] virtual bool openFileDialog(const FileDialog& dialog, std::string& resultPath) = 0;
};
