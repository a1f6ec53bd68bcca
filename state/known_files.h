#pragma once

#include <memory>
#include <string>
#include <system_error>

#include "state/json_document.h"

/// A file as it was when it was read.
struct FileContents {
  std::error_code error;                 ///< why it could not be read
  std::string bytes;                     ///< empty if it could not be read
  std::shared_ptr<const JsonNode> root;  ///< of the document in it (`readDocument`); null for none
};

/// Reads a file of at most `kMostDocumentBytes`, unless the process has read it before and its
/// time, size and place on the disk are still the same. Never null. Threads: any but the audio
/// thread; several may use the contents at a time. Throws std::bad_alloc.
[[nodiscard]] std::shared_ptr<const FileContents> readKnownFile(const std::string& path);
