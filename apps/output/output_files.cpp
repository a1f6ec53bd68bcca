#include "apps/output/output_files.h"

#include <map>
#include <set>
#include <string>
#include <system_error>
#include <utility>

#include "apps/output/failure.h"
#include "platform/atomic_file.h"
#include "platform/byte_stream.h"
#include "platform/paths.h"
#include "platform/stop_request.h"
#include "platform/whole_file.h"

namespace {

/// A text that is the same for all names of one file, whether it exists or not.
std::string identityOf(const std::string& name) {
  if (auto real = realPath(name)) return std::move(*real);
  const std::string path = resolvedLinks(name);
  const std::string parent = parentFolder(path);
  const auto folder = realPath(parent.empty() ? "." : parent);
  return folder ? joinedPath(*folder, path.substr(path.rfind('/') + 1)) : path;
}

}  // namespace

void refuseOverwriting(std::span<const RenderItem> items,
                       const std::vector<std::string>& alsoRead) {
  std::vector<std::string> read = alsoRead;
  for (const RenderItem& item : items) read.push_back(item.input);
  std::map<std::string, std::string> outputs;  // by the file that a link leads to
  for (const RenderItem& item : items) {
    // Each is compared with all others, which takes a while for many files.
    if (stopRequested()) throw Failure(item.input, "interrupted");
    const auto [other, isNew] = outputs.emplace(identityOf(item.output), item.output);
    if (!isNew) {
      throw WrongArguments(other->second + " and " + item.output + " are one file");
    }
    if (isStream(item.output) || !isFile(item.output)) continue;
    for (const std::string& name : read) {
      if (!isSameFile(item.output, name)) continue;
      throw WrongArguments(item.output + ": would overwrite " +
                           (item.output == name ? "what is read" : name + ", which is read"));
    }
  }
}

void makeDirectory(const std::string& directory) {
  if (const std::error_code error = makeFolders(directory)) {
    throw Failure(directory, "cannot be made a directory (" + error.message() + ")");
  }
}

void writeOutput(const std::string& path, const std::string& bytes) {
  // Ending the process now would leave a temporary file next to the target.
  catchStopRequests();
  if (const std::error_code error = writeWholeFile(path, bytes)) {
    if (error == std::errc::interrupted) throw Failure(path, "interrupted");
    throw Failure(path, "cannot be written (" + error.message() + ")");
  }
}

void tidyFolders(std::span<const RenderItem> items) {
  std::set<std::string> folders;
  for (const RenderItem& item : items) folders.insert(parentFolder(resolvedLinks(item.output)));
  for (const std::string& folder : folders) removeDeadParts(folder);
}
