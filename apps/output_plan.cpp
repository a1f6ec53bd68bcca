#include "apps/output_plan.h"

#include <filesystem>
#include <map>
#include <system_error>

#include "apps/audio_format.h"
#include "apps/failure.h"
#include "platform/stop_request.h"

namespace {

namespace fs = std::filesystem;

bool isSameFile(const std::string& a, const std::string& b) {
  std::error_code error;
  return fs::equivalent(a, b, error) && !error;
}

std::string outputFor(const std::string& input, const std::string& directory) {
  fs::path output = fs::path(directory) / fs::path(input).filename();
  // What can be read but not written comes out as WAV.
  if (!hasWritableEnding(output.string())) output.replace_extension(".wav");
  return output.string();
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
  std::map<fs::path, std::string> outputs;  // by what a link leads to
  for (const RenderItem& item : items) {
    // Many files take a while: each is compared with all.
    if (stopRequested()) throw Failure(item.input, "interrupted");
    std::error_code error;
    const auto [other, isNew] =
        outputs.emplace(fs::weakly_canonical(item.output, error), item.output);
    if (!isNew && !error) {
      throw WrongArguments(other->second + " and " + item.output + " are one file");
    }
    if (!fs::is_regular_file(item.output, error)) continue;
    for (const std::string& name : read) {
      if (!isSameFile(item.output, name)) continue;
      throw WrongArguments(item.output + ": would overwrite " +
                           (item.output == name ? "what is read" : name + ", which is read"));
    }
  }
}

void makeDirectory(const std::string& directory) {
  std::error_code error;
  fs::create_directories(directory, error);
  if (!error && !fs::is_directory(directory, error)) {
    error = std::make_error_code(std::errc::not_a_directory);
  }
  if (error) throw Failure(directory, "cannot be made a directory (" + error.message() + ")");
}
