#include "apps/audio_files/audio_stream.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

#include "apps/audio_files/audio_header.h"
#include "apps/output/failure.h"

AudioStream::AudioStream(const std::string& path, std::string shownName)
    : name(std::move(shownName)) {
  fault = stream.openToRead(path);
  const auto found = streamHead([this](std::size_t count) {
    std::string bytes(count, '\0');
    bytes.resize(read(bytes.data(), count));
    return bytes;
  });
  check();
  if (!found)
    throw Failure(name, "only WAV and W64 can be read from a stream, and this is neither");
  head = ::emptyFile(*found);
  if (found->audioBytes) length = static_cast<std::int64_t>(*found->audioBytes);
}

std::size_t AudioStream::read(void* bytes, std::size_t count) {
  std::size_t got = 0;
  if (!fault) fault = stream.read(bytes, count, got);
  return got;
}

void AudioStream::check() const {
  if (!fault) return;
  if (fault == std::errc::interrupted) throw Failure(name, "interrupted");
  throw Failure(name, "cannot be read (" + fault.message() + ")");
}

SF_VIRTUAL_IO AudioStream::callbacks() noexcept {
  SF_VIRTUAL_IO result{};
  result.get_filelen = [](void*) -> sf_count_t { return kNoEnd; };
  result.seek = [](sf_count_t, int, void* user) -> sf_count_t {
    return static_cast<AudioStream*>(user)->position;
  };
  result.read = [](void* bytes, sf_count_t count, void* user) -> sf_count_t {
    AudioStream& self = *static_cast<AudioStream*>(user);
    const sf_count_t wanted = std::min(count, self.length - self.position);
    const auto got = static_cast<sf_count_t>(self.read(bytes, static_cast<std::size_t>(wanted)));
    self.position += got;
    return got;
  };
  result.write = [](const void*, sf_count_t, void*) -> sf_count_t { return 0; };
  result.tell = [](void* user) { return sf_count_t{static_cast<AudioStream*>(user)->position}; };
  return result;
}

SNDFILE* AudioStream::open(SF_INFO& info, int frameBytes) {
  // The samples alone, without a header that limits their number.
  info.format = SF_FORMAT_RAW | SF_ENDIAN_LITTLE | (info.format & SF_FORMAT_SUBMASK);
  SF_VIRTUAL_IO io = callbacks();
  SNDFILE* const file = sf_open_virtual(&io, SFM_READ, &info, this);
  info.frames = length == kNoEnd ? SF_COUNT_MAX : length / frameBytes;
  return file;
}

std::int64_t AudioStream::drain() {
  std::array<char, 4096> rest;
  std::int64_t drained = 0;
  while (const std::size_t got = read(rest.data(), rest.size())) {
    drained += static_cast<std::int64_t>(got);
  }
  check();
  return drained;
}
