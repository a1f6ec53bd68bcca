#pragma once

#include <array>
#include <atomic>

/// Raises a signal to twice its rate, or lowers it from there, by a half-band filter: a windowed
/// sinc of `taps` taps, not normalised, so that DC comes back within its ripple. One object is for
/// one signal in one direction.
///
/// Threads: all on the audio thread, where it neither locks nor allocates.
class Resampler {
 public:
  static constexpr int taps = 34;
  static constexpr int kHistory = 256;

  Resampler() noexcept;
  Resampler(const Resampler&) = delete;
  Resampler& operator=(const Resampler&) = delete;
  virtual ~Resampler() = default;

  /// `ratio` 2.0: `n` samples in, 2n out, each interpolated sample before the input sample it
  /// precedes. `ratio` 0.5: `n`, which is even, in and n / 2 out. Arrays apart from each other.
  /// `kernel`: the taps of the interpolated phase, an even number of at most 128. `cells`: a
  /// history of 256, of which the first tapCount - 1 (raising) or 2 (tapCount - 1) (lowering) are
  /// the last inputs. The input goes through the others in chunks that fill them; what it leaves
  /// there becomes the past when the next call has more taps or the other ratio.
  static void resample(double ratio, const double* input, int n, double* output,
                       const double* kernel, int tapCount, double* cells) noexcept;

  /// `resample` with this object's kernel and history.
  virtual void process(double ratio, const double* input, int n, double* output) noexcept;

  /// Makes `value` the whole past.
  void fillHistory(double value) noexcept;

 protected:
  std::array<double, kHistory> history{};

 private:
  const double* const standardKernel;
};

/// A resampler with a second, steeper kernel.
class ResamplerHQ final : public Resampler {
 public:
  static constexpr int hqTaps = 128;

  ResamplerHQ() noexcept;

  void process(double ratio, const double* input, int n, double* output) noexcept override;

  /// Any thread; holds from the next call of `process` on, which finds the history as it is.
  std::atomic<bool> highQuality{false};

 private:
  const double* const hqKernel;
};

/// The product of one channel and its gain, formed at twice the rate so that the sidebands of a
/// fast gain do not alias.
///
/// Threads: `setHighQuality` and `latency` anywhere; the rest on the audio thread, where it
/// neither locks nor allocates.
class OversampledGain {
 public:
  OversampledGain() noexcept { reset(); }

  /// Silence at a gain of 1 before the next sample.
  void reset() noexcept;
  void setHighQuality(bool on) noexcept;

  /// `signal` becomes signal times `gain`, `latency` samples late. `upSignal` and `upGain`: scratch
  /// of 2 * `frames` each.
  void process(double* signal, const double* gain, int frames, double* upSignal,
               double* upGain) noexcept;

  /// Samples at the base rate by which raising and lowering together delay.
  [[nodiscard]] static constexpr int latency(bool highQuality) noexcept {
    return (highQuality ? ResamplerHQ::hqTaps : Resampler::taps) - 1;
  }

 private:
  ResamplerHQ signalUp;
  ResamplerHQ gainUp;
  ResamplerHQ down;
};
