#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "platform/dialogs.h"

/// The desktop's own dialog for files, in a process of its own, so that it can stand in no one's
/// way. Its destructor ends it. Threads: one at a time; nothing here waits for the user.
class FileChooser {
 public:
  enum class State : std::uint8_t {
    kOpen,       ///< the user has not answered
    kChosen,     ///< a path has been chosen
    kCancelled,  ///< the user wants none
    kFailed,     ///< it could not be shown
  };

  /// Null where there is no display or no such program. Titles and paths in UTF-8. It asks before
  /// it gives the path of a file that is to be replaced; an extension is not added.
  [[nodiscard]] static std::unique_ptr<FileChooser> open(const FileDialog& dialog);
  virtual ~FileChooser() = default;

  /// How it stands; `path` is set with `kChosen` alone. Every 10 ms or so, until it is not open.
  [[nodiscard]] virtual State poll(std::string& path) = 0;
};
