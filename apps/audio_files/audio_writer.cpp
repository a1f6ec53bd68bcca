#include "apps/audio_files/audio_writer.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <string_view>
#include <utility>

#include "apps/output/failure.h"

namespace {

Failure cannotWrite(const std::string& path, const std::error_code& fault) {
  if (fault == std::errc::interrupted) return {path, "interrupted"};
  return {path, "cannot be written (" + fault.message() + ")"};
}

Failure cannotWrite(const std::string& path, const std::string& libraryReason) {
  requireMemory(libraryReason);
  return {path, "cannot be written (" + libraryReason + ")"};
}

int bytesPerSample(SampleFormat sample) {
  switch (sample) {
    case SampleFormat::kFloat64:
      return 8;
    case SampleFormat::kInt24:
      return 3;
    case SampleFormat::kInt16:
      return 2;
    case SampleFormat::kFloat32:
      break;
  }
  return 4;
}

/// Removes the time of writing from the peak chunk of an RF64 header, which the library cannot
/// leave out.
std::string withoutTimeStamp(const void* bytes, std::size_t count) {
  constexpr std::string_view kChunk = "PEAK\x18";
  constexpr std::size_t kTimeStamp = 12;  // after identifier, size and version
  std::string header(static_cast<const char*>(bytes), count);
  const std::size_t chunk = header.find(kChunk);
  if (chunk != std::string::npos && chunk + kTimeStamp + 4 <= header.size()) {
    header.replace(chunk + kTimeStamp, 4, 4, '\0');
  }
  return header;
}

}  // namespace

AudioWriter::AudioWriter(std::string filePath, const AudioFormat& fileFormat, int sampleRate,
                         int channelCount, std::int64_t expectedFrames)
    : path(std::move(filePath)), format(fileFormat), channels(channelCount) {
  checkSize(expectedFrames);
  if (const std::error_code fault = target.file.open(path)) throw cannotWrite(path, fault);
  SF_INFO info{};
  info.samplerate = sampleRate;
  info.channels = channels;
  info.format = format.code;
  SF_VIRTUAL_IO virtualIo = callbacks();
  file.reset(sf_open_virtual(&virtualIo, SFM_WRITE, &info, &target));
  checkFault();
  if (!file) throw cannotWrite(path, sf_strerror(nullptr));
  // The peak chunk contains the time of writing, which would make every file different.
  sf_command(file.get(), SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE);
  // The header written so far was longer and would remain after the end of a very short file.
  target.fault = target.file.clear();
  sf_command(file.get(), SFC_UPDATE_HEADER_NOW, nullptr, 0);
  checkFault();
}

SF_VIRTUAL_IO AudioWriter::callbacks() noexcept {
  SF_VIRTUAL_IO result{};
  result.get_filelen = [](void* user) -> sf_count_t {
    return static_cast<Target*>(user)->file.size();
  };
  result.seek = [](sf_count_t offset, int whence, void* user) -> sf_count_t {
    Target& self = *static_cast<Target*>(user);
    if (whence == SEEK_CUR) offset += self.position;
    if (whence == SEEK_END) offset += self.file.size();
    return self.position = std::max<sf_count_t>(offset, 0);
  };
  result.read = [](void*, sf_count_t, void*) -> sf_count_t { return 0; };
  result.write = [](const void* bytes, sf_count_t count, void* user) -> sf_count_t {
    Target& self = *static_cast<Target*>(user);
    if (self.fault || count <= 0) return 0;
    const auto size = static_cast<std::size_t>(count);
    if (self.position == 0 &&
        std::string_view(static_cast<const char*>(bytes), size).starts_with("RF64")) {
      self.fault = self.file.write(withoutTimeStamp(bytes, size).data(), size, 0);
    } else {
      self.fault = self.file.write(bytes, size, self.position);
    }
    if (self.fault) return 0;
    self.position += count;
    return count;
  };
  result.tell = [](void* user) -> sf_count_t { return static_cast<Target*>(user)->position; };
  return result;
}

void AudioWriter::checkSize(std::int64_t frames) const {
  const std::int64_t frameBytes = std::int64_t{channels} * bytesPerSample(format.sample);
  if (frames <= format.largestBytes / frameBytes) return;
  throw Failure(path, "longer than this kind of file can be (4 GiB); w64, rf64 and caf can");
}

void AudioWriter::checkFault() const {
  if (target.fault) throw cannotWrite(path, target.fault);
}

void AudioWriter::write(const double* interleaved, int frames) {
  if (frames <= 0) return;
  const auto count = static_cast<std::size_t>(frames) * static_cast<std::size_t>(channels);
  const auto wanted = static_cast<sf_count_t>(count);
  sf_count_t written = 0;
  if (format.sample == SampleFormat::kInt24) {
    written = writeIntegers(interleaved, count, 24);
  } else if (format.sample == SampleFormat::kInt16) {
    written = writeIntegers(interleaved, count, 16);
  } else {
    written = sf_write_double(file.get(), interleaved, wanted);
  }
  checkFault();
  if (written != wanted) {
    throw cannotWrite(path, sf_strerror(file.get()));
  }
  framesWritten += frames;
  checkSize(framesWritten);
}

/// Noise of triangular density from -1 to 1 step. It makes the error of rounding independent of the
/// sound, in mean and power. S. Lipshitz, R. Wannamaker, J. Vanderkooy: Quantization and Dither,
/// 1992.
double AudioWriter::dither() {
  constexpr double kStep = 1.0 / 4294967296.0;
  const double first = static_cast<double>(random()) * kStep;
  return first - static_cast<double>(random()) * kStep;
}

sf_count_t AudioWriter::writeIntegers(const double* samples, std::size_t count, int bits) {
  // Not the library's conversion: it scales by one step less than its reading does, so that a file
  // would not come out as it went in.
  const double scale = std::ldexp(1.0, bits - 1);
  const int shift = 32 - bits;
  integers.resize(count);
  for (std::size_t i = 0; i < count; ++i) {
    const auto clip = [scale](double steps) { return std::clamp(steps, -scale, scale - 1.0); };
    const double wanted = std::nearbyint(samples[i] * scale);
    if (clip(wanted) != wanted) ++clipped;  // by itself, not by the noise
    const double held =
        clip(format.dither ? std::nearbyint(samples[i] * scale + dither()) : wanted);
    integers[i] = static_cast<int>(static_cast<unsigned>(static_cast<int>(held)) << shift);
  }
  return sf_write_int(file.get(), integers.data(), static_cast<sf_count_t>(count));
}

void AudioWriter::commit() {
  file.reset();
  checkFault();
  if (const std::error_code fault = target.file.commit()) throw cannotWrite(path, fault);
}
