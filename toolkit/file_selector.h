#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/dialogs.h"
#include "platform/file_chooser.h"
#include "toolkit/view.h"

enum VstFileCommand : std::int32_t { kVstFileLoad = 0, kVstFileSave = 1 };

/// A kind of files that a selector shows.
struct VstFileType {
  std::string name;
  std::string unixType;  ///< extension without dot
};

/// What a selector asks for. Texts in UTF-8.
struct VstFileSelect {
  VstFileCommand command = kVstFileLoad;
  std::string title;
  std::vector<VstFileType> fileTypes;  ///< the first one's extension is added to a name without any
  std::string initialPath;             ///< folder to begin in or, to save, the file proposed
};

/// Asks for a file: by the desktop's own dialog, which stands in a window of its own while the
/// frame waits, or where there is none by a browser in the frame. Threads: the message thread,
/// under the frame's lock; nothing here waits.
class CFileSelector {
 public:
  /// Empty where no file was chosen. May close the frame.
  using Answer = std::function<void(const std::string& path)>;

  /// `inFrameOnly`: never another program's dialog, as for pictures of the window.
  explicit CFileSelector(CFrame& shownIn, bool inFrameOnly = false)
      : frame(shownIn), drawn(inFrameOnly) {}

  /// `answer` comes once, and not before this returns unless the frame is not open.
  void run(const VstFileSelect& select, Answer answer);
  void run(const FileDialog& dialog, Answer answer);

 private:
  CFrame& frame;
  bool drawn;
};
