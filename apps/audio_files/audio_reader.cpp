#include "apps/audio_files/audio_reader.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <new>
#include <string_view>
#include <system_error>
#include <utility>

#include "apps/audio_files/audio_format.h"
#include "apps/audio_files/audio_header.h"
#include "apps/audio_files/memory_file.h"
#include "apps/output/failure.h"
#include "apps/output/text.h"

namespace {

/// The library's error message without its decoration.
std::string libraryReason(SNDFILE* file) {
  std::string text = sf_strerror(file);
  requireMemory(text);
  constexpr std::string_view kHead = "Error : ";
  if (text.starts_with(kHead)) text.erase(0, kHead.size());
  while (!text.empty() && text.back() == '.') text.pop_back();
  return text;
}

/// Bytes of a stored sample; 0 for compressed formats.
int storedBytes(int format) {
  switch (format & SF_FORMAT_SUBMASK) {
    case SF_FORMAT_PCM_S8:
    case SF_FORMAT_PCM_U8:
      return 1;
    case SF_FORMAT_PCM_16:
      return 2;
    case SF_FORMAT_PCM_24:
      return 3;
    case SF_FORMAT_PCM_32:
    case SF_FORMAT_FLOAT:
      return 4;
    case SF_FORMAT_DOUBLE:
      return 8;
    default:
      return 0;
  }
}

/// Opens the file for reading; a stream reports lack of memory like any other error.
std::ifstream opened(const std::string& path) {
  errno = 0;
  std::ifstream file(path, std::ios::binary);
  if (!file && errno == ENOMEM) throw std::bad_alloc();
  return file;
}

}  // namespace

AudioReader::AudioReader(std::string filePath) : path(std::move(filePath)) {
  if (isStream(path)) {
    openStream(std::exchange(path, path == "-" ? "standard input" : path));
  } else {
    openFile();
  }
  if (info.channels < 1 || info.channels > 2) {
    throw Failure(
        path, std::to_string(info.channels) + " channels; only mono and stereo can be processed");
  }
  if (!stream) checkLength();
}

void AudioReader::openFile() {
  checkKind();
  file.reset(sf_open(path.c_str(), SFM_READ, &info));
  if (!file) {
    throw Failure(path, "not an audio file that can be read (" + libraryReason(nullptr) + ")");
  }
  ownTags = readTags(file.get());
}

void AudioReader::openStream(const std::string& source) {
  stream = std::make_unique<AudioStream>(source, path);
  MemoryFile head{stream->emptyFile()};
  SF_VIRTUAL_IO io = MemoryFile::callbacks();
  file.reset(sf_open_virtual(&io, SFM_READ, &info, &head));
  if (!file) {
    throw Failure(path, "not a stream that can be read (" + libraryReason(nullptr) + ")");
  }
  ownTags = readTags(file.get());
  const int frameBytes = storedBytes(info.format) * info.channels;
  if (frameBytes == 0) throw Failure(path, "compressed audio cannot be read from a stream");
  file.reset(stream->open(info, frameBytes));
  if (!file) throw Failure(path, libraryReason(nullptr));
}

void AudioReader::checkKind() const {
  std::error_code error;
  const auto status = std::filesystem::status(path, error);
  if (status.type() == std::filesystem::file_type::not_found) throw Failure(path, "no such file");
  if (status.type() == std::filesystem::file_type::directory) {
    throw Failure(path, "is a directory, not an audio file");
  }
  if (error) throw Failure(path, "cannot be read (" + error.message() + ")");
  if (status.type() != std::filesystem::file_type::regular) {
    throw Failure(path, "is not a regular file");
  }
  if (!opened(path)) {
    throw Failure(path, "cannot be read (" + std::generic_category().message(errno) + ")");
  }
}

void AudioReader::checkLength() {
  std::ifstream bytes = opened(path);
  const auto extent = audioExtent(bytes);
  if (!extent) return;
  if (extent->present < extent->promised) {
    throw Failure(path, "cut short: its header promises " + std::to_string(extent->promised) +
                            " bytes of audio, only " + std::to_string(extent->present) +
                            " are there");
  }
  if (extent->promised == 0) {
    // An interrupted recorder never wrote the length. A few bytes may belong to other chunks.
    constexpr std::uint64_t kOtherChunks = 4096;
    if (info.frames == 0 && extent->present > kOtherChunks) {
      throw Failure(path, "its header promises no audio, but " + std::to_string(extent->present) +
                              " bytes follow it: never closed by what recorded it?");
    }
    return;
  }
  // The library takes chunks after the audio of a W64 file for more audio.
  if ((info.format & SF_FORMAT_TYPEMASK) != SF_FORMAT_W64) return;
  const int frameBytes = storedBytes(info.format) * info.channels;
  if (frameBytes == 0) return;
  const auto held = static_cast<sf_count_t>(extent->promised / static_cast<unsigned>(frameBytes));
  info.frames = std::min(info.frames, held);
}

bool AudioReader::lengthIsExact() const noexcept {
  const int container = info.format & SF_FORMAT_TYPEMASK;
  return info.frames != SF_COUNT_MAX && container != SF_FORMAT_OGG && container != SF_FORMAT_MPEG;
}

std::int64_t AudioReader::frames() const noexcept {
  return info.frames == SF_COUNT_MAX || info.frames < 0 ? 0 : info.frames;
}

int AudioReader::read(double* interleaved, int count) {
  if (lengthIsExact()) {
    count = static_cast<int>(std::min<std::int64_t>(count, info.frames - framesRead));
  }
  const auto got = static_cast<int>(sf_readf_double(file.get(), interleaved, count));
  framesRead += got;
  if (stream) stream->check();
  if (got == count && got > 0) return got;
  if (lengthIsExact() && framesRead < info.frames) {
    throw Failure(path, "cut short: it ends after " + std::to_string(framesRead) + " of " +
                            std::to_string(info.frames) + " frames");
  }
  if (sf_error(file.get()) != SF_ERR_NO_ERROR) throw Failure(path, libraryReason(file.get()));
  if (stream && got == 0) behind += stream->drain();
  return got;
}
