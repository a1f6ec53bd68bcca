#pragma once

#include <memory>
#include <string>

#include "platform/dialogs.h"

class CFrame;

/// The dialogs of an editor, as boxes in its frame; files by the desktop's dialog where there is
/// one. Texts with a frame that is closed, or has never been opened, are answered with "no" at
/// once. The frame must outlive it; what is open when it goes is answered by the frame's end.
class FrameDialogs : public Dialogs {
 public:
  /// `inFrameOnly`: as for `CFileSelector`.
  explicit FrameDialogs(CFrame& shownIn, bool inFrameOnly = false)
      : frame(shownIn), drawn(inFrameOnly) {}

  void showWarning(const std::string& caption, const std::string& message, Closed closed) override;
  void confirm(const std::string& caption, const std::string& message, Confirmed answer) override;
  void openFileDialog(const FileDialog& dialog, FileChosen answer) override;

 private:
  CFrame& frame;
  bool drawn;
};
