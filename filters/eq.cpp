#include "filters/eq.h"

#include "filters/prototypes.h"

namespace {

// Of the pass types; every other subtype is stacked.
constexpr std::int32_t kSubtypeShifted = 1;
constexpr std::int32_t kSubtypeButterworth = 2;

template <typename Value>
bool store(Value& field, Value newValue, bool& dirty) noexcept {
  const bool differs = field != newValue;
  field = newValue;
  dirty = dirty || differs;
  return differs;
}

template <typename Value>
bool store(std::atomic<Value>& field, Value newValue, bool& dirty) noexcept {
  const bool differs = field.load(std::memory_order_relaxed) != newValue;
  field.store(newValue, std::memory_order_relaxed);
  dirty = dirty || differs;
  return differs;
}

AnalogSections passDesign(std::int32_t subtype, std::int32_t order, double q) noexcept {
  if (subtype == kSubtypeShifted) return filters::shiftedLowPass(order);
  if (subtype == kSubtypeButterworth) return filters::butterworthLowPass(order);
  return filters::stackedLowPass(order, q);
}

}  // namespace

bool EQ::setSampleRate(float hz) noexcept {
  const bool differs = store(sampleRate, hz, dirty);
  resetState();
  return differs;
}

bool EQ::setType(std::int32_t newType) noexcept {
  if (newType != type) previousType = type;
  return store(type, newType, dirty);
}

bool EQ::setBypass(std::int32_t on) noexcept { return store(bypass, on, dirty); }
bool EQ::setSubtype(std::int32_t newSubtype) noexcept { return store(subtype, newSubtype, dirty); }
bool EQ::setFrequency(float hz) noexcept { return store(frequency, hz, dirty); }
bool EQ::setOrder(std::int32_t newOrder) noexcept { return store(order, newOrder, dirty); }
bool EQ::setGain(float db) noexcept { return store(gain, db, dirty); }
bool EQ::setQ(float newQ) noexcept { return store(q, newQ, dirty); }
bool EQ::setParameterA(float percent) noexcept { return store(parameterA, percent, dirty); }
bool EQ::setParameterB(float newParameter) noexcept {
  return store(parameterB, newParameter, dirty);
}
bool EQ::setDifferenceMode(bool on) noexcept { return store(differenceMode, on, dirty); }
bool EQ::setFlat(std::int32_t isFlat) noexcept { return store(flat, isFlat, dirty); }

std::int32_t EQ::getBypass() const noexcept { return bypass.load(std::memory_order_relaxed); }
std::int32_t EQ::getType() const noexcept { return type; }
std::int32_t EQ::getSubtype() const noexcept { return subtype; }
float EQ::getFrequency() const noexcept { return frequency; }
std::int32_t EQ::getOrder() const noexcept { return order; }
float EQ::getGain() const noexcept { return gain; }
float EQ::getQ() const noexcept { return q; }
float EQ::getParameterA() const noexcept { return parameterA; }
float EQ::getParameterB() const noexcept { return parameterB; }
bool EQ::getDifferenceMode() const noexcept {
  return differenceMode.load(std::memory_order_relaxed);
}
std::int32_t EQ::getFlat() const noexcept { return flat.load(std::memory_order_relaxed); }
bool EQ::isDirty() const noexcept { return dirty; }

void EQ::design(AnalogSections* out, bool ignoreBypass) const noexcept {
  if (getBypass() != 0 && !ignoreBypass) {
    *out = kFlatSections;
    return;
  }
  AnalogSections made;
  made.count = 1;
  switch (type) {
    case kOff:
      made = kFlatSections;
      break;
    case kHpf:
    case kLpf:
      made = passDesign(subtype, order, q);
      if (type == kHpf) filters::mirrorSections(made);
      filters::applyPassGain(made, order, gain);
      break;
    case kLowShelf:
      made.rows[0] = filters::lowShelf(gain, q, parameterA);
      break;
    case kPeak:
      made.rows[0] = filters::peak(gain, effectiveQ());
      break;
    case kNotch:
      made.rows[0] = filters::notch(q);
      break;
    case kHighShelf:
      made.rows[0] = filters::highShelf(gain, q, parameterA);
      break;
    case kBpf:
      made.rows[0] = filters::bandPass(gain, effectiveQ());
      break;
    case kAllpass:
      made.rows[0] = filters::allpass(q);
      break;
    default:
      made.count = 0;
  }
  scaleSections(made.rows.data(), made.count, frequency);
  *out = made;
}

float EQ::effectiveQ() const noexcept {
  if (type != kPeak && type != kBpf) return q;
  return static_cast<float>(filters::peakEffectiveQ(gain, q, parameterA));
}

std::int32_t EQ::capabilityFlags(bool previous) const noexcept {
  const std::int32_t kind = previous ? previousType : type;
  const bool isShelf = kind == kLowShelf || kind == kHighShelf;
  const bool isPass = kind == kHpf || kind == kLpf;
  const bool plain = subtype == 0;
  const bool passHasQ = plain || subtype == 3 || (subtype >= 7 && subtype <= 9);
  const bool hasQ = kind == kPeak || kind == kNotch || (isShelf && plain) ||
                    (kind == kHighShelf && subtype == 4) || (isPass && passHasQ);
  std::int32_t flags = kHasFrequency;
  if (isShelf || kind == kPeak) flags |= kHasGain;
  if (hasQ) flags |= kHasQ;
  if (*EQ::shapeLabel(previous) != '\0') flags |= kHasParameterA;
  if (isPass) flags |= kHasOrder;
  return flags;
}

const char* EQ::shapeLabel(bool previous) const noexcept {
  const std::int32_t kind = previous ? previousType : type;
  if ((kind == kLowShelf || kind == kHighShelf) && subtype == 0) return "SHIFT";
  if (kind == kLowShelf && subtype == 5) return "BOOST";
  if (kind == kLowShelf && subtype == 4) return "CUT";
  if (kind == kPeak && subtype == 0) return "GAIN->Q";
  if (kind == kPeak && subtype == 11) return "SOFTEN";
  return "";
}

void EQ::refreshSections() noexcept {
  if (!dirty) return;
  design(&sections, false);
  dirty = false;
  sectionsChanged = true;
}

const AnalogSections& EQ::activeSections() const noexcept {
  return getBypass() != 0 || getFlat() != 0 ? kFlatSections : sections;
}

double analogMagnitude(const EQ& filter, double frequency) noexcept {
  const AnalogSections& active = filter.activeSections();
  return analogMagnitude(active.rows.data(), active.count, frequency);
}
