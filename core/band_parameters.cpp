#include "core/band_parameters.h"

#include <algorithm>
#include <cmath>

#include "editing/parameter_ids.h"

namespace {

/// Crest at its maximum, "SLOW", becomes `kNeverFast`: no level rises that far above its mean, so
/// the release is never fast.
constexpr double kCrestSlow = 24.0;
constexpr double kNeverFast = 1e9;

/// The plain values of one band's rows.
class BandRows {
 public:
  BandRows(const ParameterStore& store, int ofBand) : values(store), band(ofBand) {}
  [[nodiscard]] float value(int row) const { return values.plain(id(row)); }
  [[nodiscard]] double plain(int row) const { return static_cast<double>(value(row)); }
  [[nodiscard]] double normalised(int row) const {
    return static_cast<double>(values.normalised(id(row)));
  }
  [[nodiscard]] bool on(int row) const { return value(row) != 0.0F; }
  [[nodiscard]] int whole(int row) const { return static_cast<int>(value(row)); }

 private:
  [[nodiscard]] int id(int row) const { return bandParameterId(band, row); }

  const ParameterStore& values;
  int band;
};

}  // namespace

BandSettings bandSettings(const ParameterStore& values, int band) {
  const BandRows rows(values, band);
  BandSettings settings;
  settings.active = rows.on(kB1State);
  settings.solo = rows.on(kB1Solo);
  settings.bypass = rows.on(kB1Bypass);
  settings.leftRight = rows.on(kB1LR);
  settings.position = rows.whole(kB1Position) * 0.02 - 1.0;
  settings.gain = std::pow(10.0, rows.plain(kB1Gain) * 0.05);
  settings.dry = rows.plain(kB1DryGain) * 0.01;
  return settings;
}

BandDynamics bandDynamics(const ParameterStore& values, int band, double rangeMult,
                          double ratioMult) {
  const BandRows rows(values, band);
  BandDynamics d;
  d.threshold = rows.plain(kB1Threshold);
  d.ratioAbove = rows.plain(kB1Ratio) * ratioMult;
  d.ceiling = rows.plain(kB1Ceiling) * rangeMult;
  const double below = rows.plain(kB1RatioB);
  d.ratioBelow = below < 0.0 ? below * ratioMult : below;  // expansion is never extended
  d.floor = rows.plain(kB1Floor) * rangeMult;
  d.deadband = rows.plain(kB1Deadband);
  d.knee = rows.normalised(kB1Knee);
  d.attackMs = rows.plain(kB1Attack);
  d.relSlowMs = rows.plain(kB1RelSlow);
  d.relFastMs = rows.plain(kB1RelFast);
  d.rmsMs = rows.plain(kB1RMS);
  d.crest = rows.plain(kB1Crest);
  if (d.crest == kCrestSlow) {
    d.crest = kNeverFast;
    d.relFastMs = d.relSlowMs;
  }
  d.shape = rows.normalised(kB1Shape);
  const double balance = 0.02 * rows.whole(kB1Target) - 1.0;
  d.tranWeight = std::min(1.0, balance + 1.0);
  d.dynWeight = std::min(1.0, 1.0 - balance);
  d.lookaheadMs = rows.value(kB1Lookahead);
  return d;
}

SidechainFilterSettings bandSidechainFilters(const ParameterStore& values, int band) {
  const BandRows rows(values, band);
  SidechainFilterSettings s;
  s.low = {rows.on(kB1SCLF),     rows.value(kB1SCLFF),     rows.value(kB1SCLFG),
           rows.value(kB1SCLFQ), rows.whole(kB1SCLFSlope), rows.on(kB1SCLFType)};
  s.mid = {rows.on(kB1SCMF),    rows.value(kB1SCMFF), rows.value(kB1SCMFG), rows.value(kB1SCMFQ), 0,
           rows.on(kB1SCMFType)};
  s.high = {rows.on(kB1SCHF),     rows.value(kB1SCHFF),     rows.value(kB1SCHFG),
            rows.value(kB1SCHFQ), rows.whole(kB1SCHFSlope), rows.on(kB1SCHFType)};
  return s;
}
