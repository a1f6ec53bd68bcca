#pragma once

#include <array>
#include <atomic>

/// Doubles or halves the rate of a signal with a half-band filter: a windowed sinc of `taps` taps,
/// not normalised, so that the gain at DC is 1 within its ripple. One object serves one signal in
/// one direction.
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
  /// precedes. `ratio` 0.5: `n` samples in, an even number, and n / 2 out. Arrays must not overlap.
  /// `kernel`: the taps of the interpolated phase, an even number of at most 128. `cells`: a
  /// history of 256 cells, of which the first tapCount - 1 (doubling) or 2 (tapCount - 1) (halving)
  /// hold the last inputs. The input passes through the other cells in chunks that fill them; what
  /// remains there counts as past input if the next call has more taps or the other ratio.
  /// `before`: inputs of calls that this one continues, so that the cells end as after one call for
  /// all.
  static void resample(double ratio, const double* input, int n, double* output,
                       const double* kernel, int tapCount, double* cells, int before = 0) noexcept;

  /// See `resample`; uses this object's kernel and history.
  virtual void process(double ratio, const double* input, int n, double* output,
                       int before) noexcept;

  /// Sets all past inputs to `value`.
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

  void process(double ratio, const double* input, int n, double* output,
               int before) noexcept override;

  /// Any thread; takes effect at the next call of `process`, with the history as it is.
  std::atomic<bool> highQuality{false};

 private:
  const double* const hqKernel;
};

/// Multiplies one channel by its gain at twice the rate, so that the sidebands of a fast gain do
/// not alias.
///
/// Threads: `setHighQuality` and `latency` on any thread; the rest on the audio thread, where it
/// neither locks nor allocates.
class OversampledGain {
 public:
  OversampledGain() noexcept { reset(); }

  /// Makes the past silence at a gain of 1.
  void reset() noexcept;
  void setHighQuality(bool on) noexcept;

  /// Replaces `signal` by signal times `gain`, `latency` samples late. `upSignal` and `upGain`:
  /// scratch arrays of 2 * `frames` each. `before`: frames of the block that was begun by earlier
  /// calls.
  void process(double* signal, const double* gain, int frames, double* upSignal, double* upGain,
               int before = 0) noexcept;

  /// Delay of raising and lowering together, in samples at the base rate.
  [[nodiscard]] static constexpr int latency(bool highQuality) noexcept {
    return (highQuality ? ResamplerHQ::hqTaps : Resampler::taps) - 1;
  }

 private:
  ResamplerHQ signalUp;
  ResamplerHQ gainUp;
  ResamplerHQ down;
};
