#include "apps/audio_files/audio_format.h"

#include <sndfile.h>

#include <algorithm>
#include <array>
#include <limits>
#include <new>
#include <string_view>

#include "apps/output/failure.h"
#include "apps/output/text.h"
#include "platform/atomic_file.h"
#include "platform/byte_stream.h"
#include "platform/paths.h"

namespace {

// Limits of the header's size fields, minus room for the chunks around the samples.
constexpr std::int64_t kFourGiB = (std::int64_t{1} << 32) - (1 << 16);
constexpr std::int64_t kNoLimit = std::numeric_limits<std::int64_t>::max();

struct Container {
  std::string_view ending;
  int code;
  std::int64_t largestBytes;
};
constexpr std::array<Container, 10> kContainers = {{
    {"wav", SF_FORMAT_WAV, kFourGiB},
    {"w64", SF_FORMAT_W64, kNoLimit},
    {"rf64", SF_FORMAT_RF64, kNoLimit},
    {"aiff", SF_FORMAT_AIFF, kFourGiB},
    {"aif", SF_FORMAT_AIFF, kFourGiB},
    {"aifc", SF_FORMAT_AIFF, kFourGiB},
    {"flac", SF_FORMAT_FLAC, kNoLimit},
    {"caf", SF_FORMAT_CAF, kNoLimit},
    {"au", SF_FORMAT_AU, kFourGiB},
    {"snd", SF_FORMAT_AU, kFourGiB},
}};

struct SampleName {
  std::string_view name;
  SampleFormat sample;
  int code;
};
constexpr std::array<SampleName, 4> kSamples = {{
    {"f32", SampleFormat::kFloat32, SF_FORMAT_FLOAT},
    {"f64", SampleFormat::kFloat64, SF_FORMAT_DOUBLE},
    {"s24", SampleFormat::kInt24, SF_FORMAT_PCM_24},
    {"s16", SampleFormat::kInt16, SF_FORMAT_PCM_16},
}};

const SampleName& rowOf(SampleFormat sample) {
  return *std::find_if(kSamples.begin(), kSamples.end(),
                       [sample](const SampleName& row) { return row.sample == sample; });
}

std::string knownEndings() {
  std::string list;
  for (const Container& container : kContainers) {
    list.append(list.empty() ? "" : ", ").append(container.ending);
  }
  return list;
}

/// The container that is wanted, or that of the extension; null if it is not supported.
const Container* findContainer(const std::string& path, const std::string& wanted = "") {
  std::string ending = wanted.empty() ? lowered(extensionOf(path)) : "." + wanted;
  if (ending.empty() && (isCharacterDevice(path) || isStream(path))) return &kContainers.front();
  if (!ending.empty()) ending.erase(0, 1);
  const auto found = std::find_if(kContainers.begin(), kContainers.end(),
                                  [&ending](const auto& row) { return row.ending == ending; });
  return found == kContainers.end() ? nullptr : &*found;
}

const Container& containerFor(const std::string& path, const std::string& wanted) {
  if (!wanted.empty() && path != "-") {
    throw WrongArguments(path +
                         ": --container is for the standard output; a name's ending says it");
  }
  const Container* const found = findContainer(path, wanted);
  if (found == nullptr) {
    throw WrongArguments(path + ": the name's ending says how to write it: " + knownEndings());
  }
  const bool isStreamed = found->code == SF_FORMAT_WAV || found->code == SF_FORMAT_W64;
  if (isStream(path) && !isStreamed) {
    throw WrongArguments(path + ": only wav and w64 can be written to a stream");
  }
  return *found;
}

bool canHold(int containerCode, SampleFormat sample) {
  SF_INFO info{};
  info.channels = 2;
  info.samplerate = 48000;
  info.format = containerCode | rowOf(sample).code;
  return sf_format_check(&info) != 0;
}

}  // namespace

std::optional<SampleFormat> sampleFormatNamed(const std::string& text) {
  for (const SampleName& row : kSamples) {
    if (row.name == text) return row.sample;
  }
  return std::nullopt;
}

bool hasWritableEnding(const std::string& path) { return findContainer(path) != nullptr; }

AudioFormat audioFormatFor(const std::string& path, const FormatWish& wish) {
  const Container& container = containerFor(path, wish.container);
  const bool holdsFloats = canHold(container.code, SampleFormat::kFloat32);
  const SampleFormat sample =
      wish.sample.value_or(holdsFloats ? SampleFormat::kFloat32 : SampleFormat::kInt24);
  if (!canHold(container.code, sample)) {
    std::string holds;
    for (const SampleName& row : kSamples) {
      if (canHold(container.code, row.sample)) {
        holds.append(holds.empty() ? "" : ", ").append(row.name);
      }
    }
    throw WrongArguments(path + ": a " + std::string(container.ending) + " file cannot hold " +
                         std::string(rowOf(sample).name) + " samples, only " + holds);
  }
  const bool isInteger = sample == SampleFormat::kInt24 || sample == SampleFormat::kInt16;
  if (wish.dither.value_or(false) && !isInteger) {
    throw WrongArguments(path + ": --dither is for s16 and s24 samples; " +
                         std::string(rowOf(sample).name) + " samples are not rounded");
  }
  return {container.code | rowOf(sample).code, sample, container.largestBytes,
          wish.dither.value_or(sample == SampleFormat::kInt16)};
}

void requireMemory(std::string_view reason) {
  if (reason.find("malloc") != std::string_view::npos) throw std::bad_alloc();
}
