#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// How a sample is stored in an output file.
enum class SampleFormat { kFloat32, kFloat64, kInt24, kInt16 };

/// Container and sample format of an output file.
struct AudioFormat {
  int code;  ///< libsndfile's format code
  SampleFormat sample;
  std::int64_t largestBytes;  ///< limit of the container's header
  bool dither = false;        ///< of integers
};

/// "f32", "f64", "s24" or "s16"; empty for anything else.
[[nodiscard]] std::optional<SampleFormat> sampleFormatNamed(const std::string& text);

/// Whether `audioFormatFor` knows the extension of `path`.
[[nodiscard]] bool hasWritableEnding(const std::string& path);

/// What the user asks of an output file; what is left open depends on the container.
struct FormatWish {
  std::optional<SampleFormat> sample;  ///< else 32-bit floats, or 24-bit integers without floats
  std::optional<bool> dither;          ///< else for 16-bit integers
  std::string container;               ///< of the standard output, as an extension; else WAV
};

/// The format for a file called `path`, by its extension; a device or pipe without one gets WAV.
/// Throws `WrongArguments` for an unknown extension or samples that the container does not support,
/// or that need no dither.
[[nodiscard]] AudioFormat audioFormatFor(const std::string& path, const FormatWish& wish);

/// Throws std::bad_alloc if an error message of the audio library says that it had no memory.
void requireMemory(std::string_view reason);
