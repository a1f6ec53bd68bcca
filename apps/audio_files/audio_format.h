#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// How a sample is stored in an output file.
enum class SampleFormat { kFloat32, kFloat64, kInt24, kInt16 };

/// Container and samples of an output file.
struct AudioFormat {
  int code;  ///< as libsndfile names it
  SampleFormat sample;
  std::int64_t largestBytes;  ///< that the container's header can tell
};

/// "f32", "f64", "s24" or "s16"; empty for anything else.
[[nodiscard]] std::optional<SampleFormat> sampleFormatNamed(const std::string& text);

/// Whether `audioFormatFor` knows the ending of `path`.
[[nodiscard]] bool hasWritableEnding(const std::string& path);

/// The format of a file called `path`, by its ending; a device without one takes WAV. Without
/// `wanted` the samples are 32-bit floats, or 24-bit integers where the container holds no floats.
/// Throws `WrongArguments` for an unknown ending and for samples that the container cannot hold.
[[nodiscard]] AudioFormat audioFormatFor(const std::string& path,
                                         std::optional<SampleFormat> wanted);

/// Throws std::bad_alloc where a sentence of the audio library tells that it had no memory.
void requireMemory(std::string_view reason);
