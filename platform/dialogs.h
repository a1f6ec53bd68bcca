#pragma once

#include <functional>
#include <string>
#include <vector>

/// What a file dialog shows. Texts in UTF-8.
struct FileDialog {
  bool isOpen = true;  ///< true: chooses an existing file; false: a name to save under
  std::string title;
  std::string startFolder;   ///< a leading `~/` stands for the user's home; empty for any
  std::string proposedName;  ///< full path proposed for saving; empty for none
  std::string extension;     ///< without the dot: filters the list, and completes names without one
  std::vector<std::string> otherExtensions{};  ///< shown as well
};

/// The message boxes and file dialogs of the window system. No call waits for the user: each
/// returns soon and hands the answer to its last argument.
///
/// An answer comes exactly once: within the call, or later from the message thread's events or
/// idling, when the box has gone. Boxes may lie over each other; the one on top is answered first,
/// and what it calls may ask again, or close the window. When the window closes, or the object
/// goes, all that is open is answered at once with "no". Whatever an answer uses must live until
/// then, or be looked after by the answer itself. Message thread only.
class Dialogs {
 public:
  using Closed = std::function<void(bool byUser)>;
  using Confirmed = std::function<void(bool isConfirmed)>;
  using FileChosen = std::function<void(const std::string& path)>;

  Dialogs() = default;
  virtual ~Dialogs() = default;
  Dialogs(const Dialogs&) = delete;
  Dialogs& operator=(const Dialogs&) = delete;

  /// Shows a box with a message. `byUser` is false where it went with its window. UTF-8.
  virtual void showWarning(const std::string& caption, const std::string& message,
                           Closed closed) = 0;
  /// Asks with the buttons OK and Cancel. UTF-8.
  virtual void confirm(const std::string& caption, const std::string& message,
                       Confirmed answer) = 0;
  /// The path is empty where the user chose none. One that replaces a file has been asked about.
  virtual void openFileDialog(const FileDialog& dialog, FileChosen answer) = 0;
};
