#include "editing/parameter_edits.h"

#include "editing/edited_parameters.h"

namespace {

/// Sets the flag of a row in some bands.
template <typename Set>
void setFlags(int id, BandMask bands, bool on, const Set& set) {
  for (int band = 0; band < kNumBands; ++band) {
    if (isIn(bands, band)) set(bandParameterId(band, bandOneIdOf(id)), on);
  }
}

}  // namespace

bool hasMenu(int id) noexcept {
  if (isBandParameter(id)) return bandOneIdOf(id) != kB1State;
  return id >= 0 && id < kNumParams && id != kBandOrder;
}

/// Switches operated by a click have neither locks nor links.
bool canBeLocked(int id) noexcept {
  if (!isBandParameter(id)) return hasMenu(id);
  const int row = bandOneIdOf(id);
  return row != kB1State && row != kB1Bypass && row != kB1Solo;
}

/// Not frequencies: bands differ by them.
bool canBeShared(int id) noexcept {
  return isBandParameter(id) && canBeLocked(id) && bandOneIdOf(id) != kB1Frequency;
}

BandMask bandsOfKind(const EditedParameters& parameters, int band) {
  const float kind = parameters.getPlain(bandParameterId(band, kB1Type));
  BandMask bands = 0;
  for (int other = 0; other < kNumBands; ++other) {
    if (parameters.getPlain(bandParameterId(other, kB1Type)) == kind) bands |= 1U << other;
  }
  return bands;
}

void ParameterEdits::lock(int id, LockScope scope, BandMask selected) {
  if (!canBeLocked(id)) return;
  const bool now = parameters.isLocked(id);
  const auto set = [this, id](BandMask bands, bool on) {
    setFlags(id, bands, on, [this](int each, bool flag) { parameters.setLocked(each, flag); });
  };
  if (scope == kLockToggle) parameters.setLocked(id, !now);
  if (!isBandParameter(id)) return;
  switch (scope) {
    case kLockAllOthers:
    case kUnlockAllOthers:
      set(kEveryBand & ~(1U << bandOf(id)), scope == kLockAllOthers);
      break;
    case kLockAllBands:
      set(kEveryBand, !now);
      break;
    case kLockOfKind:
      set(bandsOfKind(parameters, bandOf(id)), !now);
      break;
    case kLockSelected:
      set(selected, !now);
      break;
    default:
      break;
  }
}

void ParameterEdits::link(int id, LinkScope scope, BandMask selected) {
  if (!canBeShared(id) || scope < kLinkToggle || scope > kLinkSelected) return;
  BandMask bands = 1U << bandOf(id);
  if (scope == kLinkAllBands) bands = kEveryBand;
  if (scope == kLinkOfKind) bands = bandsOfKind(parameters, bandOf(id));
  if (scope == kLinkSelected) bands = selected;
  const bool now = parameters.isLinked(id);
  setFlags(id, bands, !now, [this](int each, bool flag) { parameters.setLinked(each, flag); });
  const UpdateHold hold(parameters.updates());
  parameters.begin(id);
  parameters.align(id);
  parameters.end(id);
}

void ParameterEdits::propagate(int id, PropagateScope scope, BandMask selected) {
  if (!canBeShared(id) || scope < kPropagateToAll || scope > kPropagateToSelected) return;
  BandMask bands = kEveryBand;
  if (scope == kPropagateToKind) bands = bandsOfKind(parameters, bandOf(id));
  if (scope == kPropagateToSelected) bands = selected;
  const float normalised = parameters.get(id);
  const UpdateHold hold(parameters.updates());
  const HistoryGroup group(parameters);
  for (int band = 0; band < kNumBands; ++band) {
    if (!isIn(bands, band)) continue;
    const int target = bandParameterId(band, bandOneIdOf(id));
    parameters.begin(target);
    parameters.set(target, normalised);
    parameters.end(target);
  }
}
