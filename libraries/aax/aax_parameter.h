#pragma once

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdint>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>

#include "libraries/aax/aax_host.h"
#include "libraries/aax/aax_types.h"
#include "libraries/aax/acf_reference.h"

/// Maps a parameter's real values to 0..1 and back. Pure.
template <typename T>
class AAX_ITaperDelegate {
 public:
  virtual ~AAX_ITaperDelegate() = default;
  [[nodiscard]] virtual T NormalizedToReal(double normalised) const noexcept = 0;
  [[nodiscard]] virtual double RealToNormalized(T real) const noexcept = 0;
};

/// A linear taper from `lowest` to `highest`, which must differ.
template <typename T>
class AAX_CLinearTaperDelegate final : public AAX_ITaperDelegate<T> {
 public:
  AAX_CLinearTaperDelegate(T lowest, T highest) noexcept : low(lowest), high(highest) {}
  [[nodiscard]] T NormalizedToReal(double normalised) const noexcept override {
    const auto from = static_cast<double>(low);
    return static_cast<T>(from + (static_cast<double>(high) - from) * normalised);
  }
  [[nodiscard]] double RealToNormalized(T real) const noexcept override {
    const auto from = static_cast<double>(low);
    return (static_cast<double>(real) - from) / (static_cast<double>(high) - from);
  }

 private:
  const T low;
  const T high;
};

/// Off below 0.5, otherwise on.
template <typename T>
class AAX_CBinaryTaperDelegate final : public AAX_ITaperDelegate<T> {
 public:
  [[nodiscard]] T NormalizedToReal(double normalised) const noexcept override {
    return static_cast<T>(normalised >= 0.5);
  }
  [[nodiscard]] double RealToNormalized(T real) const noexcept override { return real ? 1.0 : 0.0; }
};

/// Writes the text of a value. Any thread but the audio thread.
template <typename T>
class AAX_IDisplayDelegate {
 public:
  virtual ~AAX_IDisplayDelegate() = default;
  virtual void ValueToString(T value, AAX_IString* text) const = 0;
};

/// One text for off and one for on; keeps pointers to them.
template <typename T>
class AAX_CBinaryDisplayDelegate final : public AAX_IDisplayDelegate<T> {
 public:
  AAX_CBinaryDisplayDelegate(const char* offText, const char* onText) noexcept
      : off(offText), on(onText) {}
  void ValueToString(T value, AAX_IString* text) const override { text->Set(value ? on : off); }

 private:
  const char* const off;
  const char* const on;
};

/// A parameter as the host sees it. Normalised values are 0..1 and clamped; NaN counts as 0.
///
/// Threads: set steps and type before registering it; values may be read and stored on any thread;
/// the rest on any thread but the audio thread.
class AAX_IParameter {
 public:
  virtual ~AAX_IParameter() = default;
  [[nodiscard]] virtual AAX_CParamID Identifier() const noexcept = 0;
  [[nodiscard]] virtual const char* Name() const noexcept = 0;
  virtual void SetNumberOfSteps(std::int32_t count) noexcept = 0;  ///< at least 2
  [[nodiscard]] virtual std::int32_t GetNumberOfSteps() const noexcept = 0;
  virtual void SetType(AAX_EParameterType newType) noexcept = 0;
  [[nodiscard]] virtual AAX_EParameterType GetType() const noexcept = 0;

  [[nodiscard]] virtual double GetNormalizedDefaultValue() const noexcept = 0;
  [[nodiscard]] virtual double GetNormalizedValue() const noexcept = 0;
  [[nodiscard]] virtual bool GetValueAsBool() const noexcept = 0;  ///< not 0
  /// Stores the value; the host is not told.
  virtual void UpdateNormalizedValue(double normalised) noexcept = 0;
  /// The step of the value; steps count from 0 and are evenly spaced in 0..1.
  [[nodiscard]] virtual std::int32_t GetStepValue() const noexcept = 0;
  virtual void GetStringFromNormalizedValue(double normalised, AAX_IString* text) const = 0;

  /// Sets where touches are posted; keeps the pointer. Null for nowhere.
  virtual void SetAutomationDelegate(
      const SharedAcfReference<AAX_IAutomationDelegate>* delegate) noexcept = 0;
  // Begin and end a change by the user.
  virtual AAX_Result Touch() = 0;
  virtual AAX_Result Release() = 0;
};

/// A parameter that holds a `T`: float or bool.
template <typename T>
class AAX_CParameter final : public AAX_IParameter {
 public:
  using Taper = std::unique_ptr<const AAX_ITaperDelegate<T>>;
  using Display = std::unique_ptr<const AAX_IDisplayDelegate<T>>;

  /// `usual` is the default and the initial value. The delegates must not be null.
  AAX_CParameter(std::string newIdentifier, std::string newName, T usual, Taper newTaper,
                 Display newDisplay)
      : identifier(std::move(newIdentifier)),
        name(std::move(newName)),
        defaultValue(usual),
        taper(std::move(newTaper)),
        display(std::move(newDisplay)),
        value(usual) {}

  [[nodiscard]] AAX_CParamID Identifier() const noexcept override { return identifier.c_str(); }
  [[nodiscard]] const char* Name() const noexcept override { return name.c_str(); }
  void SetNumberOfSteps(std::int32_t count) noexcept override { steps = std::max(count, 2); }
  [[nodiscard]] std::int32_t GetNumberOfSteps() const noexcept override { return steps; }
  void SetType(AAX_EParameterType newType) noexcept override { type = newType; }
  [[nodiscard]] AAX_EParameterType GetType() const noexcept override { return type; }

  [[nodiscard]] double GetNormalizedDefaultValue() const noexcept override {
    return taper->RealToNormalized(defaultValue);
  }
  [[nodiscard]] double GetNormalizedValue() const noexcept override {
    return taper->RealToNormalized(value.load(std::memory_order_relaxed));
  }
  [[nodiscard]] bool GetValueAsBool() const noexcept override {
    return value.load(std::memory_order_relaxed) != T{};
  }
  void UpdateNormalizedValue(double normalised) noexcept override {
    value.store(taper->NormalizedToReal(inRange(normalised)), std::memory_order_relaxed);
  }
  [[nodiscard]] std::int32_t GetStepValue() const noexcept override {
    return static_cast<std::int32_t>(std::floor(GetNormalizedValue() * (steps - 1) + 0.5));
  }
  void GetStringFromNormalizedValue(double normalised, AAX_IString* text) const override {
    display->ValueToString(taper->NormalizedToReal(inRange(normalised)), text);
  }

  void SetAutomationDelegate(
      const SharedAcfReference<AAX_IAutomationDelegate>* delegate) noexcept override {
    automation = delegate;
  }
  AAX_Result Touch() override { return post(&AAX_IAutomationDelegate::PostTouchRequest); }
  AAX_Result Release() override { return post(&AAX_IAutomationDelegate::PostReleaseRequest); }

 private:
  [[nodiscard]] static double inRange(double normalised) noexcept {
    return normalised > 0.0 ? std::min(normalised, 1.0) : 0.0;
  }
  AAX_Result post(AAX_Result (AAX_IAutomationDelegate::*request)(AAX_CParamID)) const {
    if (automation == nullptr) return AAX_SUCCESS;
    const auto delegate = automation->get();
    return delegate ? (delegate.operator->()->*request)(Identifier()) : AAX_SUCCESS;
  }

  const std::string identifier;
  const std::string name;
  const T defaultValue;
  const Taper taper;
  const Display display;
  std::int32_t steps = 2;
  AAX_EParameterType type = AAX_eParameterType_Continuous;
  const SharedAcfReference<AAX_IAutomationDelegate>* automation = nullptr;
  std::atomic<T> value;
};
