#include "core/value_text.h"

#include <array>
#include <charconv>
#include <cmath>
#include <string_view>

#include "core/parameter_table.h"
#include "editing/parameter_ids.h"
#include "platform/index.h"

namespace {

/// "%.<decimals>f" in the C locale: a host may have set another one.
std::string fixed(double value, int decimals) {
  std::array<char, 512> text;
  const auto end = std::to_chars(text.data(), text.data() + text.size(), value,
                                 std::chars_format::fixed, decimals);
  return {text.data(), end.ptr};
}

std::string whole(double value) { return std::to_string(static_cast<int>(value)); }

std::string percent(double value) { return fixed(value, 0) + "%"; }

std::string decibels(double value) { return fixed(value, 1) + "dB"; }

double nearestMultipleOf6(double value) { return std::floor(value / 6.0 + 0.5) * 6.0; }

/// The text of entry `value`; empty if there is no such entry.
template <std::size_t Size>
std::string choice(double value, const std::array<std::string_view, Size>& texts) {
  const int entry = static_cast<int>(value);
  if (entry < 0 || entry >= static_cast<int>(Size)) return {};
  return std::string(texts[at(entry)]);
}

std::string subTypeText(double plain) {
  const std::string name = choice(plain, kSubTypeNames);
  return name.empty() ? whole(plain) : name;
}

std::string ratioText(double plain, bool above, const ValueTextContext& context) {
  const int decimals = context.simpleNumbers ? 1 : 2;
  if (plain >= 0.0) {
    const double share = above && context.extendedRatios ? 2.0 * plain : plain;
    if (std::abs(share - 1.0) <= 0.001) return "Inf:1";
    // Over-compression reads as a negative ratio: intended.
    return fixed(1.0 / (1.0 - share), decimals) + ":1";
  }
  // Neither the mirror of the positive side nor the engine's law: kept on purpose.
  const double share = context.extendedRatios ? -plain : -0.5 * plain;
  if (std::abs(share - 1.0) <= 0.001) return "1:Inf";
  return "1:" + fixed(1.0 / (1.0 - share), decimals);
}

/// The limit of a gain change, shown as negative while the ratio reduces the gain.
std::string limitText(double plain, float ratio, const ValueTextContext& context) {
  const std::string text = decibels(rangeMultiplier(context.extendedRanges) * plain);
  return ratio > 0.0F && plain > 0.0 ? "-" + text : text;
}

std::string positionText(double plain, bool leftRight) {
  const double value = std::trunc(plain);
  if (value == 50.0) return "BOTH";
  if (value == 100.0) return leftRight ? "RIGHT" : "SIDE";
  if (value == 0.0) return leftRight ? "LEFT" : "MID";
  return percent(value);
}

/// A truncated percentage, with words instead at 0, 50 (if given) and 100.
std::string percentText(double plain, std::string_view atZero, std::string_view atHalf,
                        std::string_view atFull) {
  const double value = std::trunc(plain);
  if (value == 0.0) return std::string(atZero);
  if (value == 50.0 && !atHalf.empty()) return std::string(atHalf);
  if (value == 100.0) return std::string(atFull);
  return percent(value);
}

std::string bandText(double plain, std::string_view none) {
  const double value = std::trunc(plain);
  if (!(value > -1.0 && value <= 7.0)) return std::string(none);
  return "BAND " + whole(value + 1.0);
}

std::string dryGainText(double plain) {
  return plain == 0.0 ? "OFF" : decibels(20.0 * std::log10(plain * 0.01));
}

std::string crestText(double plain) {
  if (plain == 0.0) return "FAST";
  return plain == 24.0 ? "SLOW" : decibels(plain);
}

std::string shapeText(double plain) {
  if (plain == 0.0) return "LOG";
  return plain == 100.0 ? "LIN" : percent(plain);
}

/// A frequency as note name, octave and cents, counted from A4 at 440 Hz.
std::string noteText(double frequency) {
  static constexpr std::array<std::string_view, 12> kNames = {"C",  "C#", "D",  "D#", "E",  "F",
                                                              "F#", "G",  "G#", "A",  "A#", "B"};
  const double octaves = std::log2(frequency / 440.0);
  const double octave = std::floor(octaves + 0.5);
  const double semitones = (octaves - octave) * 12.0;
  const double nearest = std::floor(semitones + 0.5);
  const int cents = static_cast<int>(std::floor((semitones - nearest) * 100.0 + 0.5));
  const int note = static_cast<int>(nearest);
  const int number = static_cast<int>(octave) + (note > 2 ? 5 : 4);
  const std::string sign = cents < 0 ? "-" : "+";
  return std::string(kNames[at((note + 21) % 12)]) + std::to_string(number) + sign +
         std::to_string(std::abs(cents));
}

std::string genericText(double plain, const ParameterRecord& record, bool simple) {
  const std::string_view label = record.label;
  switch (record.curve) {
    case kCurveWhole:
      return whole(plain).append(label);
    case kCurveMultipleOf6:
    case kCurveMultipleOf12:
      return plain == 0.0 ? "OFF" : whole(plain).append(label);
    case kCurveSwitch:
      return plain >= 0.5 ? "ON" : "OFF";
    default:
      break;
  }
  if (label == "Hz") {
    return std::abs(plain) > 1000.0 ? fixed(plain * 0.001, 1) + "kHz" : fixed(plain, 0) + "Hz";
  }
  if (label == "dB") return decibels(plain);
  if (label == "%") return percent(plain);
  return fixed(plain, simple || std::abs(plain) >= 999.995 ? 0 : 2).append(label);
}

std::string slopeText(double plain, bool multipleOf6, const ParameterRecord& record) {
  return genericText(multipleOf6 ? nearestMultipleOf6(plain) : plain, record, false);
}

// Texts of the parameters with a rule of their own; empty for all others.

std::string bandRowText(int row, double p, const ParameterRecord& record,
                        const ValueTextContext& context) {
  switch (row) {
    case kB1Type:
      return p >= 0.5 ? "DYN EQ" : "XOVER";
    case kB1SubType:
      return subTypeText(p);
    case kB1Ratio:
      return ratioText(p, true, context);
    case kB1RatioB:
      return ratioText(p, false, context);
    case kB1Ceiling:
      return limitText(p, context.ratioAbove, context);
    case kB1Floor:
      return limitText(p, context.ratioBelow, context);
    case kB1LR:
    case kB1SCLR:
      return p >= 0.5 ? "L/R" : "M/S";
    case kB1Position:
      return positionText(p, context.leftRight);
    case kB1SCPos:
      return positionText(p, context.scLeftRight);
    case kB1DryGain:
      return dryGainText(p);
    case kB1Slope:
      return slopeText(p, context.dynamicEq, record);
    case kB1Slope2:
      return slopeText(p, true, record);
    case kB1Target:
      return percentText(p, "DYN", "BOTH", "TRAN");
    case kB1Crest:
      return crestText(p);
    case kB1Shape:
      return shapeText(p);
    default:
      return {};
  }
}

std::string sidechainRowText(int row, double p) {
  switch (row) {
    case kB1SCSrc:
      return choice(p, std::array<std::string_view, 3>{"WIDE", "BAND", "EXT"});
    case kB1SCSBand:
      return bandText(p, "NONE");
    case kB1SCLink:
      return percentText(p, "DUAL", "", "LINKED");
    case kB1SCLFType:
      return p == 0.0 ? "HPF" : "Shelf";
    case kB1SCMFType:
      return p == 0.0 ? "Peak" : "BPF";
    case kB1SCHFType:
      return p == 0.0 ? "LPF" : "Shelf";
    default:
      return {};
  }
}

std::string globalText(int row, double p) {
  switch (row) {
    case kWetDry:
      return percentText(p, "DRY", "", "WET");
    case kABBank:
      return {static_cast<char>(65 + static_cast<int>(p))};
    case kOversample:
    case kOversampleOL:
      return choice(p, std::array<std::string_view, 3>{"OFF", "ON", "ON HQ"});
    case kSCListen:
      return bandText(p, "OFF");
    case kLogBehaviour:
      return p == 0.0 ? "Both" : "Expand";
    case kExtendedRanges:
      return choice(p, std::array<std::string_view, 3>{"24dB", "48dB", "96dB"});
    case kExtendedRatios:
      return p == 0.0 ? "Normal" : "Extended";
    default:
      return {};
  }
}

std::string ownText(int row, double p, const ParameterRecord& record,
                    const ValueTextContext& context) {
  if (!isBandParameter(row)) return globalText(row, p);
  return row < kB1SCSrc || row == kB1SCLR || row == kB1SCPos ? bandRowText(row, p, record, context)
                                                             : sidechainRowText(row, p);
}

}  // namespace

ValueTextContext valueTextContext(const ParameterStore& values, int index) {
  const auto isOn = [&values](int id) { return values.plain(id) != 0.0F; };
  ValueTextContext context;
  context.extendedRanges = values.plain(kExtendedRanges);
  context.extendedRatios = isOn(kExtendedRatios);
  if (!isBandParameter(index)) return context;
  const int band = bandOf(index);
  context.ratioAbove = values.plain(bandParameterId(band, kB1Ratio));
  context.ratioBelow = values.plain(bandParameterId(band, kB1RatioB));
  context.dynamicEq = isOn(bandParameterId(band, kB1Type));
  context.leftRight = isOn(bandParameterId(band, kB1LR));
  context.scLeftRight = isOn(bandParameterId(band, kB1SCLR));
  return context;
}

int rangeMultiplier(float extendedRanges) noexcept {
  if (extendedRanges >= 2.0F) return 4;
  return extendedRanges >= 1.0F ? 2 : 1;
}

std::string valueText(int index, float plain, const ParameterRecord& record,
                      const ValueTextContext& context, bool showNote) {
  const int row = isBandParameter(index) ? bandOneIdOf(index) : index;
  std::string text = ownText(row, plain, record, context);
  if (!text.empty()) return text;
  if (showNote && std::string_view(record.label) == "Hz") return noteText(plain);
  return genericText(plain, record, context.simpleNumbers);
}
