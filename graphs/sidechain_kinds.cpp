#include "graphs/sidechain_kinds.h"

#include <array>
#include <cstddef>

namespace sidechain_kinds {

namespace {

struct Texts {
  std::string_view menu;
  std::string_view label;
};
constexpr std::array<Texts, 7> kTexts = {{{"HPF", "HPF"},
                                          {"Low Shelf", "LOW SHELF"},
                                          {"Peak", "PEAK"},
                                          {"BPF", "BPF"},
                                          {"Notch", "Ntch"},
                                          {"LPF", "LPF"},
                                          {"High Shelf", "HIGH SHELF"}}};

constexpr Kind kLow[] = {Kind::kLowShelf, Kind::kHighPass};
constexpr Kind kMiddle[] = {Kind::kPeak, Kind::kBandPass, Kind::kNotch};
constexpr Kind kHigh[] = {Kind::kHighShelf, Kind::kLowPass};

const Texts& textsOf(Kind kind) noexcept { return kTexts[static_cast<std::size_t>(kind)]; }

}  // namespace

Kind kindOf(int filter, bool isSecond, bool isGainLeast) noexcept {
  if (filter == 0) return isSecond ? Kind::kLowShelf : Kind::kHighPass;
  if (filter == 2) return isSecond ? Kind::kHighShelf : Kind::kLowPass;
  if (isSecond) return Kind::kBandPass;
  return isGainLeast ? Kind::kNotch : Kind::kPeak;
}

bool isSecondType(Kind kind) noexcept {
  return kind == Kind::kLowShelf || kind == Kind::kHighShelf || kind == Kind::kBandPass;
}

bool hasGain(Kind kind) noexcept {
  return kind == Kind::kLowShelf || kind == Kind::kHighShelf || kind == Kind::kPeak ||
         kind == Kind::kNotch;
}

std::span<const Kind> kindsOf(int filter) noexcept {
  if (filter == 0) return kLow;
  if (filter == 1) return kMiddle;
  return kHigh;
}

std::string_view menuText(Kind kind) noexcept { return textsOf(kind).menu; }

std::string_view label(Kind kind) noexcept { return textsOf(kind).label; }

}  // namespace sidechain_kinds
