#pragma once

#include <atomic>
#include <cstdint>

#include "filters/analog_sections.h"

/// Parameters of a recursive filter and its analog design; derived classes process audio.
/// Usage: call setters in any order, then `update` once. A setter stores its value, marks the
/// filter dirty if the value differs from the old one (floats compare exactly) and returns whether
/// it did. Threads: all but `process` on one control thread, at any moment; `process` on the audio
/// thread. Nothing locks, and only `update` may allocate. Other threads may read curves; a curve
/// read during a design may mix old and new values.
class EQ {
 public:
  enum Type : std::int32_t {
    kOff,
    kHpf,
    kLowShelf,
    kPeak,
    kNotch,
    kHighShelf,
    kLpf,
    kBpf,
    kAllpass
  };
  enum Capability : std::int32_t {
    kHasGain = 1,
    kHasFrequency = 2,
    kHasQ = 4,
    kHasParameterA = 8,
    kHasOrder = 16
  };

  EQ() = default;
  EQ(const EQ&) = delete;
  EQ& operator=(const EQ&) = delete;
  virtual ~EQ() = default;

  virtual bool setSampleRate(float hz) noexcept;  ///< also clears the state, even if unchanged
  virtual bool setBypass(std::int32_t on) noexcept;
  virtual bool setType(std::int32_t newType) noexcept;  ///< a `Type`; other values have no rows
  virtual bool setSubtype(std::int32_t newSubtype) noexcept;
  virtual bool setFrequency(float hz) noexcept;
  virtual bool setOrder(std::int32_t newOrder) noexcept;  ///< of the pass types, 0..32
  virtual bool setGain(float db) noexcept;
  virtual bool setQ(float newQ) noexcept;
  virtual bool setParameterA(float percent) noexcept;
  virtual bool setParameterB(float newParameter) noexcept;
  virtual bool setDifferenceMode(bool on) noexcept;
  [[nodiscard]] virtual std::int32_t getBypass() const noexcept;
  [[nodiscard]] virtual std::int32_t getType() const noexcept;
  [[nodiscard]] virtual std::int32_t getSubtype() const noexcept;
  [[nodiscard]] virtual float getFrequency() const noexcept;
  [[nodiscard]] virtual std::int32_t getOrder() const noexcept;
  [[nodiscard]] virtual float getGain() const noexcept;
  [[nodiscard]] virtual float getQ() const noexcept;
  [[nodiscard]] virtual float getParameterA() const noexcept;
  [[nodiscard]] virtual float getParameterB() const noexcept;
  [[nodiscard]] virtual bool getDifferenceMode() const noexcept;
  [[nodiscard]] virtual std::int32_t getFlat() const noexcept;  ///< 1 if the last design is unity
  virtual bool setFlat(std::int32_t isFlat) noexcept;
  /// Writes the analog rows in Hz to `out`; while bypassed the flat row, unless `ignoreBypass`.
  virtual void design(AnalogSections* out, bool ignoreBypass) const noexcept;
  [[nodiscard]] virtual bool isDirty() const noexcept;
  /// The Q that a peak or band-pass is designed with; the set Q for other types.
  [[nodiscard]] virtual float effectiveQ() const noexcept;
  /// `Capability` bits: the controls that have an effect for the type, or for the previous type.
  [[nodiscard]] virtual std::int32_t capabilityFlags(bool previous) const noexcept;
  /// Name for the effect of parameter A, empty if it has none; static text.
  [[nodiscard]] virtual const char* shapeLabel(bool previous) const noexcept;
  virtual void resetState() noexcept = 0;
  /// Sets unity coefficients, at once (only while nothing processes) or over a ramp.
  virtual void resetCoefficients(bool immediate) noexcept = 0;
  /// Processes one channel in place; `n` below 1 does nothing.
  virtual void process(double* samples, std::int32_t n) noexcept = 0;
  virtual void process(float* samples, std::int32_t n) noexcept = 0;
  /// Writes the present b0, b1, b2, a1, a2, section by section; `out` has room for 16 sections.
  virtual void getCoefficients(double* out) const noexcept = 0;
  /// Magnitude of the digital filter at `hz` once its ramp is over; `phase` (radians, summed over
  /// the sections) may be null.
  virtual double magnitudeAt(double hz, double* phase) const noexcept = 0;
  virtual void responseAt(double hz, double* re, double* im) const noexcept = 0;
  /// Ramps to `count` sections, 0..16, of five coefficients each.
  virtual void setCoefficients(const double* newCoefficients, std::int32_t count) noexcept = 0;
  /// Applies what the setters changed: designs coefficients and hands them to `process`. Throws
  /// std::bad_alloc with nothing applied; the next call then does it.
  virtual void update() = 0;

  /// Designs the rows if dirty, for curves drawn before the next `update`, which applies them.
  void refreshSections() noexcept;
  /// The rows of the last design, or the flat row while bypassed or flat.
  [[nodiscard]] const AnalogSections& activeSections() const noexcept;

 protected:
  std::int32_t type = kOff;
  std::int32_t previousType = kOff;
  std::int32_t subtype = 0;
  bool dirty = true;  // parameters changed since the last design
  std::int32_t order = 2;
  std::atomic<std::int32_t> bypass{1};  // control to audio
  std::atomic<std::int32_t> flat{0};    // control to audio
  float frequency = 1000.0F;            // Hz
  float gain = 0.0F;                    // dB
  float q = 0.707F;
  float parameterA = 0.5F;  // percent
  float parameterB = 1.0F;
  float sampleRate = 44100.0F;              // Hz
  std::atomic<bool> differenceMode{false};  // control to audio: realise H - 1 instead of H
  AnalogSections sections = kFlatSections;
  bool sectionsChanged = true;  // `sections` holds a design that `update` has not applied
};

/// Magnitude of the last design at `frequency` (Hz); 1 while bypassed or flat. Call
/// `refreshSections` first if parameters have changed.
[[nodiscard]] double analogMagnitude(const EQ& filter, double frequency) noexcept;
