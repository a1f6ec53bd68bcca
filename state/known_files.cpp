#include "state/known_files.h"

#include <cstddef>
#include <map>
#include <mutex>
#include <utility>

#include "platform/of_process.h"
#include "platform/paths.h"
#include "platform/whole_file.h"
#include "state/chunk_codec.h"

namespace {

using Contents = std::shared_ptr<const FileContents>;

/// The files read last, by path.
class KnownFiles {
 public:
  Contents find(const std::string& path, const FileStamp& stamp) {
    const std::lock_guard lock(mutex);
    const auto found = files.find(path);
    return found != files.end() && found->second.stamp.isSameState(stamp) ? found->second.contents
                                                                          : nullptr;
  }
  void keep(const std::string& path, const FileStamp& stamp, const Contents& contents) {
    constexpr std::size_t kMost = 16;
    const std::lock_guard lock(mutex);
    if (files.size() >= kMost) files.clear();
    files.insert_or_assign(path, Known{stamp, contents});
  }

 private:
  struct Known {
    FileStamp stamp;
    Contents contents;
  };

  std::mutex mutex;
  std::map<std::string, Known> files;
};

Contents readNow(const std::string& path) {
  auto contents = std::make_shared<FileContents>();
  contents->error = readWholeFile(path, contents->bytes, kMostDocumentBytes);
  if (!contents->bytes.empty()) contents->root = readDocument(contents->bytes);
  return contents;
}

}  // namespace

Contents readKnownFile(const std::string& path) {
  static OfProcess<KnownFiles> known([] { return KnownFiles(); });
  static const auto missing = std::make_shared<const FileContents>(
      FileContents{std::make_error_code(std::errc::no_such_file_or_directory), {}, nullptr});
  const FileStamp stamp = fileStamp(path);
  if (!stamp.isThere) return missing;
  if (Contents contents = known.get().find(path, stamp)) return contents;
  Contents contents = readNow(path);
  // Other faults may pass without a trace in the file.
  const bool isLasting = !contents->error || contents->error == std::errc::file_too_large;
  if (stamp.isSettled && isLasting) known.get().keep(path, stamp, contents);
  return contents;
}
