#pragma once

#include <string>

/// What a file dialog shows. Texts in UTF-8.
struct FileDialog {
  bool isOpen = true;  ///< chooses a file that is there, else a name to save under
  std::string title;
  std::string startFolder;   ///< a leading `~/` stands for the user's home; empty for any
  std::string proposedName;  ///< whole path to save under; empty for none
  std::string extension;     ///< without dot: what is shown, and added to a name that has none
};

/// The message boxes and file dialogs of the window system. Message thread only. Timers and other
/// editors may run inside any call.
class Dialogs {
 public:
  Dialogs() = default;
  virtual ~Dialogs() = default;
  Dialogs(const Dialogs&) = delete;
  Dialogs& operator=(const Dialogs&) = delete;

  /// Shows a box with a warning icon and returns when the user has closed it. UTF-8.
  virtual void showWarning(const std::string& caption, const std::string& message) = 0;
  /// Asks with the buttons OK and Cancel; whether OK was chosen. UTF-8.
  [[nodiscard]] virtual bool confirm(const std::string& caption, const std::string& message) = 0;
  /// Whether the user chose a file; `resultPath` is untouched if not.
  [[nodiscard]] virtual bool openFileDialog(const FileDialog& dialog, std::string& resultPath) = 0;
};
