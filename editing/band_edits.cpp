#include "editing/band_edits.h"

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include "dynamics/band_layout.h"
#include "editing/edited_parameters.h"
#include "host/raised.h"
#include "platform/index.h"

namespace {

constexpr std::int32_t kNeutralOrder = 1754760;  // bands 0 to 7 in order
constexpr float kNeutralNormalised = 0.8367348F;

bool isRunning(const EditedParameters& parameters, int band) {
  return parameters.getPlain(bandParameterId(band, kB1State)) != 0.0F;
}

constexpr bool staysWithBand(int row) noexcept {
  return row <= kB1Solo || row == kB1Frequency || row == kB1Slope || row == kB1Slope2;
}

/// The new number of a band that a parameter names; a value that names no band stays.
template <typename Order>
float renamed(float plainBand, const Order& order) {
  const auto* const found = std::find(order.begin(), order.end(), static_cast<int>(plainBand));
  return found == order.end() ? plainBand : static_cast<float>(found - order.begin());
}

/// Clears the locks and links of the band parameters and of the order. At its end gives each band
/// parameter those of its source, and restores the lock of the order.
class FlagMove {
 public:
  FlagMove(EditedParameters& edited, std::vector<int> from)
      : parameters(edited), orderLocked(edited.isLocked(kBandOrder)), sources(std::move(from)) {
    for (const int source : sources) {
      locks.push_back(parameters.isLocked(source));
      links.push_back(parameters.isLinked(source));
    }
    for (const int source : sources) {
      parameters.setLocked(source, false);
      parameters.setLinked(source, false);
    }
    parameters.setLocked(kBandOrder, false);
  }
  ~FlagMove() {
    for (std::size_t i = 0; i < sources.size(); ++i) {
      parameters.setLocked(kB1State + static_cast<int>(i), locks[i]);
      parameters.setLinked(kB1State + static_cast<int>(i), links[i]);
    }
    parameters.setLocked(kBandOrder, orderLocked);
  }
  FlagMove(const FlagMove&) = delete;
  FlagMove& operator=(const FlagMove&) = delete;

 private:
  EditedParameters& parameters;
  const bool orderLocked;
  const std::vector<int> sources;  // for each band parameter, the one whose place it takes
  std::vector<bool> locks;
  std::vector<bool> links;
};

/// Whether the lists agree with the bands' state, type and frequency.
bool chainStands(const BandLayout& layout) {
  const auto all = [&layout](const BandLayout::List& list, bool running, bool crossover) {
    return std::ranges::all_of(list, [&](std::int32_t band) {
      const auto i = static_cast<std::size_t>(band);
      return layout.state[i] == running && (!running || layout.isXover[i] == crossover);
    });
  };
  const auto notBelow = [&layout](std::int32_t a, std::int32_t b) {
    return layout.frequency[at(a)] >= layout.frequency[at(b)];
  };
  return all(layout.pre, true, false) && all(layout.xover, true, true) &&
         all(layout.post, true, false) && all(layout.off, false, false) &&
         std::ranges::adjacent_find(layout.xover, notBelow) == layout.xover.end();
}

}  // namespace

BandMask BandEdits::bandsIn(int band, int scope, BandMask selected) const {
  if (!isBand(band)) return 0;
  BandMask running = 0;
  BandMask crossover = 0;
  for (int each = 0; each < kNumBands; ++each) {
    if (isRunning(parameters, each)) running |= 1U << each;
    if (parameters.getPlain(bandParameterId(each, kB1Type)) == 0.0F) crossover |= 1U << each;
  }
  switch (scope) {
    case kThisBand:
      return running & 1U << band;
    case kOtherBands:
      return running & ~(1U << band);
    case kAllBands:
      return running;
    case kCrossoverBands:
      return running & crossover;
    case kDynamicBands:
      return running & ~crossover;
    case kSelectedBands:
      return running & selected;
    default:
      return 0;
  }
}

void BandEdits::setLocks(int band, int scope, BandMask selected, bool on) {
  const BandMask bands = bandsIn(band, scope, selected);
  for (int each = 0; each < kNumBands; ++each) {
    for (int row = kB1Threshold; isIn(bands, each) && row <= kB1SCHFType; ++row) {
      parameters.setLocked(bandParameterId(each, row), on);
    }
  }
}

void BandEdits::setLinks(int band, int scope, BandMask selected, bool on) {
  const BandMask bands = bandsIn(band, scope, selected);
  if (bands == 0) return;
  const UpdateHold hold(parameters.updates());
  const HistoryGroup group(parameters);
  for (int each = 0; each < kNumBands; ++each) {
    for (int row = kB1Threshold; isIn(bands, each) && row <= kB1SCHFType; ++row) {
      const int target = bandParameterId(each, row);
      if (row == kB1Frequency || row == kB1Gain) continue;
      parameters.setLinked(target, on);
      parameters.begin(target);
      parameters.set(target, parameters.get(bandParameterId(band, row)));
      parameters.end(target);
    }
  }
}

void BandEdits::copyRow(int from, int to) {
  parameters.setLocked(to, false);
  parameters.setLinked(to, false);
  const float normalised = parameters.get(from);
  if (parameters.get(to) != normalised) {
    parameters.begin(to);
    parameters.set(to, normalised);
    parameters.end(to);
  }
  parameters.setLocked(to, parameters.isLocked(from));
  parameters.setLinked(to, parameters.isLinked(from));
}

void BandEdits::copyBand(int source, int target) {
  if (!isBand(source) || (target != kEveryTarget && !isBand(target))) return;
  const UpdateHold hold(parameters.updates());
  const HistoryGroup group(parameters);
  for (int band = 0; band < kNumBands; ++band) {
    if (band == source || (target != kEveryTarget && band != target)) continue;
    for (int row = kB1State; row <= kB1SCHFType; ++row) {
      if (!staysWithBand(row)) copyRow(bandParameterId(source, row), bandParameterId(band, row));
    }
  }
}

/// Finds the order to sort by. False if there is nothing to sort or no valid chain.
bool BandEdits::findOrder(Order& order) {
  BandLayout& layout = parameters.layout();
  const BandLayout::Scope lock(layout);
  if (!chainStands(layout)) return false;
  std::copy(layout.order.begin(), layout.order.end(), order.begin());
  const auto stored = static_cast<double>(parameters.getPlain(kBandOrder));
  return !std::ranges::is_sorted(order) ||
         static_cast<std::int32_t>(stored * BandLayout::kOrderScale) != kNeutralOrder;
}

bool BandEdits::sortBands() {
  Order order{};
  if (!findOrder(order)) return false;
  const UpdateHold hold(parameters.updates());
  const Raised loading(parameters.loading());
  const HistoryGroup group(parameters);
  moveRows(order);
  return true;
}

void BandEdits::moveRows(const Order& order) {
  std::vector<int> sources;
  std::vector<float> values;  // normalised
  for (const int band : order) {
    for (int row = kB1State; row <= kB1SCHFType; ++row) {
      const int source = bandParameterId(band, row);
      sources.push_back(source);
      values.push_back(row == kB1SCSBand ? parameters.toNormalised(
                                               source, renamed(parameters.getPlain(source), order))
                                         : parameters.get(source));
    }
  }
  const FlagMove flags(parameters, std::move(sources));
  for (std::size_t i = 0; i < values.size(); ++i) {
    change(kB1State + static_cast<int>(i), values[i]);
  }
  change(kSCListen,
         parameters.toNormalised(kSCListen, renamed(parameters.getPlain(kSCListen), order)));
  change(kBandOrder, kNeutralNormalised);
}

void BandEdits::change(int index, float normalised) {
  if (parameters.get(index) == normalised) return;
  parameters.beginAlone(index);
  parameters.set(index, normalised);
  parameters.endAlone(index);
}
