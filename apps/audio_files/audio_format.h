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
};

/// "f32", "f64", "s24" or "s16"; empty for anything else.
[[nodiscard]] std::optional<SampleFormat> sampleFormatNamed(const std::string& text);

/// Whether `audioFormatFor` knows the extension of `path`.
[[nodiscard]] bool hasWritableEnding(const std::string& path);

/// The format for a file called `path`, by its extension; a device without one gets WAV. Without
/// `wanted`, samples are 32-bit floats, or 24-bit integers if the container does not support
/// floats. Throws `WrongArguments` for an unknown extension or samples that the container does not
/// support.
[[nodiscard]] AudioFormat audioFormatFor(const std::string& path,
                                         std::optional<SampleFormat> wanted);

/// Throws std::bad_alloc if an error message of the audio library says that it had no memory.
void requireMemory(std::string_view reason);
