#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// How a parameter moves: `curve` is that of its record.
struct ValueSteps {
  std::int32_t curve = 0;
  float least = 0.0F;      ///< plain
  float most = 1.0F;       ///< plain
  std::int32_t count = 0;  ///< how many values it has, as hosts are told; 0 for any
};

/// What value controls ask of the effect they show. A tag that is no parameter has no name, no text
/// and steps of 0. Threads: the message thread; `textOf` also on the one that draws, under the
/// frame's lock.
class ValueSource {
 public:
  virtual ~ValueSource() = default;

  /// Without its band's number, in capitals.
  [[nodiscard]] virtual std::string nameOf(std::int32_t tag) const = 0;
  /// The present value with its unit.
  [[nodiscard]] virtual std::string textOf(std::int32_t tag) const = 0;
  [[nodiscard]] virtual float valueOf(std::int32_t tag) const = 0;    ///< normalised
  [[nodiscard]] virtual float defaultOf(std::int32_t tag) const = 0;  ///< normalised
  [[nodiscard]] virtual float plainOf(std::int32_t tag, float normalised) const = 0;
  [[nodiscard]] virtual float normalisedOf(std::int32_t tag, float plain) const = 0;
  [[nodiscard]] virtual ValueSteps stepsOf(std::int32_t tag) const = 0;
  /// What the user has typed becomes the value, by the way of a change of theirs.
  virtual void setValueFromText(std::int32_t tag, std::string_view text) = 0;
  /// The user's choice, an index, of how controls behave everywhere; 0 where there is none.
  [[nodiscard]] virtual std::int32_t preference(const char* /*key*/) const { return 0; }
};
