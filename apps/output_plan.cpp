#include "apps/output_plan.h"

#include <map>
#include <system_error>
#include <utility>

#include "apps/audio_format.h"
#include "apps/failure.h"
#include "platform/paths.h"
#include "platform/stop_request.h"
#include "platform/whole_file.h"

namespace {

std::string outputFor(const std::string& input, const std::string& directory) {
  std::string output = joinedPath(directory, input.substr(input.rfind('/') + 1));
  if (hasWritableEnding(output)) return output;
  // What can be read but not written comes out as WAV.
  output.resize(output.size() - extensionOf(output).size());
  return output + ".wav";
}

/// The same text for all names of one file, be it there or not.
std::string identityOf(const std::string& name) {
  if (auto real = realPath(name)) return std::move(*real);
  const std::string path = resolvedLinks(name);
  const std::string parent = parentFolder(path);
  const auto folder = realPath(parent.empty() ? "." : parent);
  return folder ? joinedPath(*folder, path.substr(path.rfind('/') + 1)) : path;
}

}  // namespace

std::vector<RenderItem> planDirectory(const std::vector<std::string>& inputs,
                                      const std::string& directory) {
  std::vector<RenderItem> items;
  std::map<std::string, std::string> inputOf;  // by output
  for (const std::string& input : inputs) {
    const std::string output = outputFor(input, directory);
    const auto [other, isNew] = inputOf.emplace(output, input);
    if (!isNew) {
      throw WrongArguments(other->second + " and " + input + " would both be written to " + output);
    }
    items.push_back({input, output});
  }
  return items;
}

void refuseOverwriting(std::span<const RenderItem> items,
                       const std::vector<std::string>& alsoRead) {
  std::vector<std::string> read = alsoRead;
  for (const RenderItem& item : items) read.push_back(item.input);
  std::map<std::string, std::string> outputs;  // by what a link leads to
  for (const RenderItem& item : items) {
    // Many files take a while: each is compared with all.
    if (stopRequested()) throw Failure(item.input, "interrupted");
    const auto [other, isNew] = outputs.emplace(identityOf(item.output), item.output);
    if (!isNew) {
      throw WrongArguments(other->second + " and " + item.output + " are one file");
    }
    if (!isFile(item.output)) continue;
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
