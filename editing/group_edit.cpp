#include "editing/group_edit.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <utility>

#include "dynamics/band_layout.h"
#include "editing/edited_parameters.h"
#include "host/editor_state.h"

namespace {

std::size_t rowOf(int id) noexcept { return static_cast<std::size_t>(bandOneIdOf(id) - kB1State); }

template <typename Each>
void forRows(int id, BandMask bands, const Each& each) {
  for (int band = 0; band < kNumBands; ++band) {
    if (isIn(bands, band)) each(band, bandParameterId(band, bandOneIdOf(id)));
  }
}

}  // namespace

SpreadRule spreadRuleOf(int id) noexcept {
  if (!isBandParameter(id)) return SpreadRule::kNone;
  switch (bandOneIdOf(id)) {
    case kB1Bypass:
      return SpreadRule::kSame;
    case kB1Threshold:
    case kB1Frequency:
      return SpreadRule::kDifference;
    case kB1Gain:
      return SpreadRule::kRatio;
    default:
      return SpreadRule::kNone;
  }
}

float spreadValue(SpreadRule rule, float reference, float ownReference, float wanted) noexcept {
  const float moved = reference + (wanted - ownReference);
  switch (rule) {
    case SpreadRule::kSame:
      return std::clamp(wanted, 0.0F, 1.0F);
    case SpreadRule::kDifference:
      return std::clamp(moved, 0.0F, 1.0F);
    case SpreadRule::kRatio:
      return ownReference != 0.0F ? reference * (wanted / ownReference) : moved;
    default:
      return reference;
  }
}

GroupEdit::References& GroupEdit::referencesOf(int id) noexcept {
  if (bandOneIdOf(id) == kB1Gain) return gainReference;
  return bandOneIdOf(id) == kB1Threshold ? thresholdReference : frequencyReference;
}

/// The bands that follow an edit of `id` with the editor's present selection.
BandMask GroupEdit::followersOf(int id) const {
  const int own = bandOf(id);
  const bool grouped = editor.selectMode != 0 && isIn(editor.shownBands, own);
  const auto runs = [this](int band) {
    return parameters.getPlain(bandParameterId(band, kB1State)) != 0.0F;
  };
  if (!grouped || (spreadRuleOf(id) != SpreadRule::kSame && !runs(own))) return 0;
  BandMask bands = editor.selectedBands & editor.shownBands & ~(1U << own);
  for (int band = 0; band < kNumBands; ++band) {
    if (!runs(band)) bands &= ~(1U << band);
  }
  return bands;
}

BandMask GroupEdit::crossoverBands() const {
  BandMask bands = 0;
  for (int band = 0; band < kNumBands; ++band) {
    if (parameters.layout().crossoverIndex(band) >= 0) bands |= 1U << band;
  }
  return bands;
}

/// The crossover band that makes the rest of the crossover give way, or -1. All move under one
/// hold, so that they do not push each other; then the leader is set once more. It is the edited
/// band if that is in the crossover, since its own value comes next. Locked bands do not move and
/// cannot lead.
int GroupEdit::leaderOf(int id, BandMask followers) const {
  if (bandOneIdOf(id) != kB1Frequency) return -1;
  BandMask movable = crossoverBands();
  for (int band = 0; band < kNumBands; ++band) {
    if (parameters.isLocked(bandParameterId(band, kB1Frequency))) movable &= ~(1U << band);
  }
  if (isIn(movable, bandOf(id))) return bandOf(id);
  const BandMask among = movable & followers;
  return among == 0 ? -1 : std::countr_zero(among);
}

void GroupEdit::begin(int id) {
  const SpreadRule rule = spreadRuleOf(id);
  if (rule == SpreadRule::kNone) return;
  end(id);  // a gesture whose end was lost
  if (rule != SpreadRule::kSame) {
    References& references = referencesOf(id);
    for (int band = 0; band < kNumBands; ++band) {
      const int each = bandParameterId(band, bandOneIdOf(id));
      references.at(static_cast<std::size_t>(band)) =
          rule == SpreadRule::kRatio ? parameters.getPlain(each) : parameters.get(each);
    }
  }
  Gesture& gesture = gestures.at(rowOf(id));
  gesture.followers = followersOf(id);
  if (gesture.followers == 0) return;
  gesture.leader = leaderOf(id, gesture.followers);
  gesture.edited = gesture.followers;
  if (gesture.leader >= 0) gesture.edited &= ~crossoverBands() | 1U << gesture.leader;
  parameters.beginHistoryGroup();
  forRows(id, gesture.edited, [this](int /*band*/, int each) { parameters.begin(each); });
  parameters.endGroupWithEdit(id);
}

void GroupEdit::spread(int id, float normalised) {
  const SpreadRule rule = spreadRuleOf(id);
  if (rule == SpreadRule::kNone) return;
  const Gesture& gesture = gestures.at(rowOf(id));
  BandMask bands = gesture.followers;
  if (bands == 0) return;
  const bool plain = rule == SpreadRule::kRatio;
  const float wanted = plain ? parameters.toPlain(id, normalised) : normalised;
  const References& references = referencesOf(id);
  const float own = references.at(static_cast<std::size_t>(bandOf(id)));
  if (gesture.leader == bandOf(id)) bands |= 1U << gesture.leader;
  {
    const UpdateHold hold(parameters.updates());
    forRows(id, bands, [&](int band, int each) {
      const float reference = references.at(static_cast<std::size_t>(band));
      const float value = spreadValue(rule, reference, own, wanted);
      parameters.set(each, plain ? parameters.toNormalised(each, value) : value);
    });
  }
  if (gesture.leader < 0 || gesture.leader == bandOf(id)) return;
  const int leading = bandParameterId(gesture.leader, kB1Frequency);
  parameters.set(leading, parameters.get(leading));
}

void GroupEdit::end(int id) {
  if (spreadRuleOf(id) == SpreadRule::kNone) return;
  const Gesture gesture = std::exchange(gestures.at(rowOf(id)), Gesture{});
  if (gesture.followers == 0) return;
  const UpdateHold hold(parameters.updates());
  forRows(id, gesture.edited, [this](int /*band*/, int each) { parameters.end(each); });
}

void GroupEdit::endAll() {
  for (int row = kB1State; row <= kB1SCHFType; ++row) end(row);
}

int otherRelease(int id) noexcept {
  if (!isBandParameter(id)) return -1;
  const int row = bandOneIdOf(id);
  if (row == kB1RelSlow) return bandParameterId(bandOf(id), kB1RelFast);
  return row == kB1RelFast ? bandParameterId(bandOf(id), kB1RelSlow) : -1;
}

void setSidechainSource(EditedParameters& parameters, int band, int source, int sourceBand) {
  if (!isBand(band)) return;
  const UpdateHold hold(parameters.updates());
  const HistoryGroup group(parameters);
  editPlain(parameters, bandParameterId(band, kB1SCSrc), static_cast<float>(source));
  editPlain(parameters, bandParameterId(band, kB1SCSBand), static_cast<float>(sourceBand));
}
