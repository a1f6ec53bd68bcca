#pragma once

#include <atomic>
#include <cstdint>

#include "filters/analog_sections.h"

/// Parameters of a recursive filter and its analog design; derived classes make it run.
/// Usage: setters in any order, then one `update`. A setter stores its value, marks the filter
/// dirty when the value differs from the old one (floats compare exactly) and returns whether it
/// did. Threads: all but `process` on one control thread, at any moment; `process` on the audio
/// thread. Nothing locks, and only `update` may allocate. Curves may be read elsewhere; one that
/// meets a design may be torn.
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

  virtual bool setSampleRate(float hz) noexcept;  ///< clears the state too, changed or not
  virtual bool setBypass(std::int32_t on) noexcept;
  virtual bool setType(std::int32_t newType) noexcept;  ///< `Type`; any other has no rows
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
  [[nodiscard]] virtual std::int32_t getFlat() const noexcept;  ///< the last design is unity
  virtual bool setFlat(std::int32_t isFlat) noexcept;
  /// Writes the analog rows in Hz to `out`; under bypass the flat row, unless that is ignored.
  virtual void design(AnalogSections* out, bool ignoreBypass) const noexcept;
  [[nodiscard]] virtual bool isDirty() const noexcept;
  /// The Q that peak and band-pass are designed with; `q` for the other types.
  [[nodiscard]] virtual float effectiveQ() const noexcept;
  /// `Capability` bits: which controls mean something for the type, or the type before it.
  [[nodiscard]] virtual std::int32_t capabilityFlags(bool previous) const noexcept;
  /// Name of what parameter A does, empty when it does nothing; static text.
  [[nodiscard]] virtual const char* shapeLabel(bool previous) const noexcept;
  virtual void resetState() noexcept = 0;
  /// To unity, at once (while nothing processes) or over a ramp.
  virtual void resetCoefficients(bool immediate) noexcept = 0;
  /// One channel in place, any `n`; below 1 changes nothing.
  virtual void process(double* samples, std::int32_t n) noexcept = 0;
  virtual void process(float* samples, std::int32_t n) noexcept = 0;
  /// b0, b1, b2, a1, a2 in force, section after section; room for 16.
  virtual void getCoefficients(double* out) const noexcept = 0;
  /// Magnitude of the digital filter at `hz` when its ramp is over; `phase`, in radians
  /// and summed over the sections, may be null.
  virtual double magnitudeAt(double hz, double* phase) const noexcept = 0;
  virtual void responseAt(double hz, double* re, double* im) const noexcept = 0;
  /// Ramps to `count` sections, 0..16, of five coefficients each.
  virtual void setCoefficients(const double* newCoefficients, std::int32_t count) noexcept = 0;
  /// Takes what the setters changed: designs and hands new coefficients to `process`. Where memory
  /// runs out it throws and takes nothing, so that the next call does.
  virtual void update() = 0;

  /// Designs the rows when dirty, for curves drawn before the next `update`, which takes them.
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
  std::atomic<bool> differenceMode{false};  // control to audio: to realise H - 1
  AnalogSections sections = kFlatSections;
  bool sectionsChanged = true;  // `sections` holds a design that `update` has not taken
};

/// Magnitude of the last design at `frequency` Hz, 1 while bypassed or flat. A filter with changed
/// parameters wants `refreshSections` before.
[[nodiscard]] double analogMagnitude(const EQ& filter, double frequency) noexcept;
