#include "apps/audio_files/audio_writer.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <string_view>
#include <utility>

#include "apps/audio_files/audio_header.h"
#include "apps/audio_files/memory_file.h"
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

void putNumber(std::string& bytes, std::size_t offset, std::size_t count, std::int64_t number) {
  for (std::size_t i = 0; i < count; ++i) {
    bytes[offset + i] = static_cast<char>(number >> (8 * i) & 0xFF);
  }
}

/// Writes the lengths into the head of a WAV or W64 stream; without `bytes` those by which readers
/// know that only the end will tell.
void tellLength(std::string& head, std::optional<std::int64_t> bytes, std::int64_t frames) {
  const auto size = static_cast<std::int64_t>(head.size());
  if (head.starts_with("RIFF")) {
    constexpr std::int64_t kOpen = 0xFFFFFFFF;
    putNumber(head, 4, 4, bytes ? size - 8 + *bytes + *bytes % 2 : kOpen);
    putNumber(head, head.size() - 4, 4, bytes.value_or(kOpen));
    const std::size_t fact = head.find(std::string_view("fact\4\0\0\0", 8));
    if (fact != std::string::npos) putNumber(head, fact + 8, 4, frames);
  } else {
    constexpr std::int64_t kOwn = 24;  // identifier and size, which count
    const std::int64_t told = bytes.value_or(kEndlessBytes);
    putNumber(head, 16, 8, size + told);
    putNumber(head, head.size() - 8, 8, kOwn + told);
    const std::size_t fact = head.find(std::string_view("fact\xF3\xAC\xD3\x11", 8));
    if (fact != std::string::npos) putNumber(head, fact + kOwn, 8, frames);
  }
}

}  // namespace

AudioWriter::AudioWriter(std::string filePath, const AudioFormat& fileFormat, int sampleRate,
                         int channelCount, std::optional<std::int64_t> expectedFrames,
                         AudioTags ownTags)
    : path(std::move(filePath)),
      isStreamed(isStream(path)),
      format(fileFormat),
      channels(channelCount),
      tags(std::move(ownTags)) {
  SF_INFO info{};
  info.samplerate = sampleRate;
  info.channels = channels;
  info.format = format.code;
  lostNames = lostTags(info, tags);
  if (isStreamed) {
    const std::int64_t frameBytes = std::int64_t{channels} * bytesPerSample(format.sample);
    if (expectedFrames && *expectedFrames > format.largestBytes / frameBytes)
      expectedFrames.reset();
    std::optional<std::int64_t> bytes;
    if (expectedFrames) bytes = *expectedFrames * frameBytes;
    openStream(info, bytes);
  } else {
    checkSize(expectedFrames.value_or(0));
    openFile(info);
  }
}

void AudioWriter::setUp(SNDFILE* made) const {
  // The peak chunk contains the time of writing, which would make every file different.
  sf_command(made, SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE);
  writeTags(made, tags);
}

void AudioWriter::openFile(SF_INFO info) {
  if (const std::error_code fault = target.file.open(path)) throw cannotWrite(path, fault);
  SF_VIRTUAL_IO virtualIo = callbacks();
  file.reset(sf_open_virtual(&virtualIo, SFM_WRITE, &info, &target));
  checkFault();
  if (!file) throw cannotWrite(path, sf_strerror(nullptr));
  setUp(file.get());
  // The header written so far was longer and would remain after the end of a very short file.
  target.fault = target.file.clear();
  sf_command(file.get(), SFC_UPDATE_HEADER_NOW, nullptr, 0);
  checkFault();
}

void AudioWriter::openStream(SF_INFO info, std::optional<std::int64_t> bytes) {
  const std::string source = std::exchange(path, path == "-" ? "standard output" : path);
  const std::string head = headOf(info, bytes);
  target.fault = target.stream.openToWrite(source);
  if (!target.fault) target.fault = target.stream.write(head.data(), head.size());
  checkFault();
  info.format = SF_FORMAT_RAW | SF_ENDIAN_LITTLE | (info.format & SF_FORMAT_SUBMASK);
  SF_VIRTUAL_IO virtualIo = streamCallbacks();
  file.reset(sf_open_virtual(&virtualIo, SFM_WRITE, &info, &target));
  if (!file) throw cannotWrite(path, sf_strerror(nullptr));
  isPadded = head.starts_with("RIFF") && bytes.value_or(0) % 2 != 0;
}

/// The header of a stream, the same as that of a file of as many `bytes` of audio.
std::string AudioWriter::headOf(SF_INFO info, std::optional<std::int64_t> bytes) const {
  MemoryFile memory;
  SF_VIRTUAL_IO virtualIo = MemoryFile::callbacks();
  const std::unique_ptr<SNDFILE, Close> made(
      sf_open_virtual(&virtualIo, SFM_WRITE, &info, &memory));
  if (!made) throw cannotWrite(path, sf_strerror(nullptr));
  setUp(made.get());
  memory.bytes.clear();
  memory.position = 0;
  sf_command(made.get(), SFC_UPDATE_HEADER_NOW, nullptr, 0);
  tellLength(memory.bytes, bytes, bytes.value_or(0) / (channels * bytesPerSample(format.sample)));
  return memory.bytes;
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

SF_VIRTUAL_IO AudioWriter::streamCallbacks() noexcept {
  SF_VIRTUAL_IO result = callbacks();
  result.get_filelen = result.tell;
  result.seek = [](sf_count_t, int, void* user) -> sf_count_t {
    return static_cast<Target*>(user)->position;
  };
  result.write = [](const void* bytes, sf_count_t count, void* user) -> sf_count_t {
    Target& self = *static_cast<Target*>(user);
    if (!self.fault) self.fault = self.stream.write(bytes, static_cast<std::size_t>(count));
    if (self.fault) return 0;
    self.position += count;
    return count;
  };
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
  if (!isStreamed) checkSize(framesWritten);
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
  if (isStreamed) {
    if (isPadded) target.fault = target.stream.write("", 1);  // a zero
    target.stream.close();
    return checkFault();
  }
  if (const std::error_code fault = target.file.commit()) throw cannotWrite(path, fault);
}
