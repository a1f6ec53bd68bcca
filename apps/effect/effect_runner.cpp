#include "apps/effect/effect_runner.h"

#include <algorithm>
#include <cstddef>
#include <new>
#include <utility>

#include "apps/output/text.h"
#include "host/aeffect.h"
#include "platform/index.h"

namespace {

/// A host that answers only the question for its process level.
template <std::intptr_t kLevel>
std::intptr_t answer(AEffect*, std::int32_t opcode, std::int32_t, std::intptr_t, void*, float) {
  return opcode == kHostProcessLevel ? kLevel : 0;
}

bool isOn(const Plug& plug, int band, int row) {
  return plug.getPlainValue(bandParameterId(band, row)) != 0.0F;
}

/// The value of `kBandOrder` with which every band that is on is in the chain, dynamic EQ bands
/// last; none if crossover bands share a frequency.
std::optional<double> fittingOrder(const Plug& plug) {
  BandLayout layout;
  layout.moveBand(0, kOffList, 0.0);
  for (int band = 0; band < kNumBands; ++band) {
    if (!isOn(plug, band, kB1State)) continue;
    const float hertz = plug.getPlainValue(bandParameterId(band, kB1Frequency));
    layout.moveBand(band, isOn(plug, band, kB1Type) ? kPostList : kXoverList,
                    static_cast<double>(hertz));
  }
  const double order = layout.bandOrderValue();
  return layout.applyBandOrder(order) ? std::optional(order) : std::nullopt;
}

}  // namespace

HostedPlug::HostedPlug(bool realtime, const EditorFactory& makeEditor)
    : Plug(realtime ? &answer<kProcessLevelRealtime> : &answer<kProcessLevelOffline>, Idle::kCaller,
           &monotonicMilliseconds, Machine::detached(), makeEditor) {}

std::optional<std::string> chainFault(Plug& plug, int band) {
  if (!isOn(plug, band, kB1State)) return std::nullopt;
  BandLayout& layout = plug.getEngine().layout;
  const BandLayout::List off = layout.copyOf(layout.off);
  const bool isListed = std::find(off.begin(), off.end(), band) == off.end();
  const bool isCrossover = layout.crossoverIndex(band) >= 0;
  if (isListed && isCrossover != isOn(plug, band, kB1Type)) return std::nullopt;
  const auto order = fittingOrder(plug);
  return "band " + std::to_string(band + 1) + " is on, but the chain is not as set: " +
         (order ? "it needs --set kBandOrder=" + shortestText(static_cast<float>(*order))
                : "two crossover bands have the same frequency");
}

int placeOf(std::int32_t parameter) noexcept {
  if (parameter == kIpTrim) return kInputPlace;
  if (!isBandParameter(parameter)) return kOutputPlace;
  const int row = bandOneIdOf(parameter);
  return row == kB1State || row == kB1Type ? kOutputPlace : bandOf(parameter);
}

EffectRunner::EffectRunner(const EffectSetup& setup, int sampleRate, int mainChannels,
                           int sidechainChannels, const Plug::EditorFactory& makeEditor)
    : plug(setup.realtime, makeEditor),
      channels(mainChannels),
      sideChannels(sidechainChannels),
      doubles(setup.doubles),
      realtime(setup.realtime) {
  plug.setSampleRate(static_cast<float>(sampleRate));
  plug.setBlockSize(setup.blockFrames);
  applyState(plug, setup.state);
  plug.resume();
  requireUpdate(plug);  // the idle call would finish the update, but too late
  // The end of a gesture starts a measurement.
  if (plug.getPlainValue(kAutoGain) != 0.0F) plug.endEdit(kAutoGain);
  plug.onIdle();
  requireUpdate(plug);
  readGains();  // includes bands that are on from the start, even if no block follows
  if (doubles) {
    reserve(doublePlanes, setup.blockFrames);
  } else {
    reserve(floatPlanes, setup.blockFrames);
  }
}

template <typename Sample>
void EffectRunner::reserve(Planes<Sample>& planes, int frames) {
  for (auto& plane : planes.in) plane.resize(static_cast<std::size_t>(frames));
  for (auto& plane : planes.out) plane.resize(static_cast<std::size_t>(frames));
}

void EffectRunner::automate(std::int32_t parameter, float plain) {
  // As a host plays automation: unlike in an edit by the user, no other parameter gives way.
  plug.setParameter(parameter, plug.plainToNormalised(parameter, plain));
  // A live effect delays redesigns by the clock; here they must come at the same frame every time.
  if (realtime) plug.updateDsp(true);
  requireUpdate(plug);
  plug.updateLatency();
}

EffectRunner::Delays EffectRunner::delays() {
  Delays result{};
  compressor& engine = plug.getEngine();
  for (int band = 0; band < kNumBands; ++band) result[at(band)] = engine.latencyUpTo(band);
  result[kOutputPlace] = latency();
  return result;
}

void EffectRunner::process(const double* main, const double* side, int frames, double* out) {
  if (doubles) {
    processAs(doublePlanes, main, side, frames, out);
  } else {
    processAs(floatPlanes, main, side, frames, out);
  }
  readGains();
  requireUpdate(plug);
  plug.onIdle();
  requireUpdate(plug);
}

template <typename Sample>
void EffectRunner::processAs(Planes<Sample>& planes, const double* main, const double* side,
                             int frames, double* out) {
  const auto stride = static_cast<std::size_t>(channels);
  const auto count = static_cast<std::size_t>(frames);
  // Main channels come first, then as many sidechain channels; a missing output marks a mono call.
  std::array<Sample*, 4> inputs{};
  std::array<Sample*, 2> outputs{};
  for (std::size_t c = 0; c < stride; ++c) {
    for (std::size_t i = 0; i < count; ++i) {
      planes.in[c][i] = static_cast<Sample>(main[i * stride + c]);
    }
    inputs[c] = planes.in[c].data();
    outputs[c] = planes.out[c].data();
  }
  if (side != nullptr && sideChannels > 0) {
    fillSidechain(planes, side, frames);
    for (std::size_t c = 0; c < stride; ++c) inputs[stride + c] = planes.in[stride + c].data();
  }
  if constexpr (std::is_same_v<Sample, double>) {
    plug.processDoubleReplacing(inputs.data(), outputs.data(), frames);
  } else {
    plug.processReplacing(inputs.data(), outputs.data(), frames);
  }
  for (std::size_t c = 0; c < stride; ++c) {
    for (std::size_t i = 0; i < count; ++i) {
      out[i * stride + c] = static_cast<double>(planes.out[c][i]);
    }
  }
}

template <typename Sample>
void EffectRunner::fillSidechain(Planes<Sample>& planes, const double* side, int frames) {
  const auto main = static_cast<std::size_t>(channels);
  const auto stride = static_cast<std::size_t>(sideChannels);
  const auto count = static_cast<std::size_t>(frames);
  for (std::size_t c = 0; c < main; ++c) {
    std::vector<Sample>& plane = planes.in[main + c];
    for (std::size_t i = 0; i < count; ++i) {
      const double* const frame = side + i * stride;
      // A mono effect has one sidechain input and hears the mid of a stereo sidechain.
      const double mixed =
          main < stride ? 0.5 * (frame[0] + frame[1]) : frame[std::min(c, stride - 1)];
      plane[i] = static_cast<Sample>(mixed);
    }
  }
}

std::vector<std::string> EffectRunner::chainFaults() {
  std::vector<std::string> faults;
  for (int band = 0; band < kNumBands; ++band) {
    if (auto fault = chainFault(plug, band)) faults.push_back(std::move(*fault));
  }
  return faults;
}

void EffectRunner::readGains() {
  constexpr int kBothParts = 3;
  for (int band = 0; band < kNumBands; ++band) {
    if (plug.getPlainValue(bandParameterId(band, kB1State)) == 0.0F) continue;
    std::optional<GainRange>& range = bandGains[at(band)];
    if (!range) range = GainRange{};
    for (int channel = 0; channel < channels; ++channel) {
      const double gain = plug.getBandGain(band, kBothParts, channel);
      *range = {std::min(range->lowest, gain), std::max(range->highest, gain)};
    }
  }
}
