#pragma once

#include "analysis/vector_math.h"
#include "dynamics/detector_kernels.h"

// One text for all instruction sets: each of detector_kernels_*.cpp compiles it with its own
// options and vector width. As vector_types.h: everything unnamed, nothing of the standard library.
//
// Two layouts: along time, a chunk of one detector; and in rows, one value of each detector of a
// group side by side, a row per sample. Sums and ballistics run in rows, where no step waits for
// the step before it of another detector.

namespace {  // NOLINT(google-build-namespaces, cert-dcl59-cpp): one copy per instruction set

constexpr int kChunk = DetectorKernels::kChunk;
constexpr int kSlack = 8;  // what a vector may read or write beyond a chunk
constexpr double kFlush = 1e-30;
constexpr double kNoLevel = 1e150;  // from here on (its square overflows) a level is none

inline void copy(const double* from, int count, double* to) noexcept {
  __builtin_memcpy(to, from, sizeof(double) * static_cast<unsigned>(count));
}

// The sliding maximum, along time.

/// A chunk with the samples before it in front.
struct WindowChunk {
  static constexpr int kBefore = 1 << (WindowLane::kUnrolled - 1);
  double memory[kBefore + kChunk + kSlack] = {};
  [[nodiscard]] double* samples() noexcept { return memory + kBefore; }
};

/// The size of a signal in place, 0 for what is no number; returns the largest.
template <int W>
inline double rectify(double* samples, int frames) noexcept {
  Vector<W> loudest = {};
  for (int i = 0; i < frames; i += W) {
    const auto x = load<W>(samples + i);
    const auto size = larger<W>(x, -x);
    const auto level = size < kNoLevel ? size : Vector<W>{};
    loudest = larger<W>(loudest, level);
    store<W>(samples + i, level);
  }
  double largest = 0.0;
  for (int j = 0; j < W; ++j) largest = loudest[j] > largest ? loudest[j] : largest;
  return largest;
}

template <int W>
inline void maximumOf(const double* a, const double* b, double* out, int count) noexcept {
  for (int i = 0; i < count; i += W) {
    store<W>(out + i, larger<W>(load<W>(a + i), load<W>(b + i)));
  }
}

/// One of the tree's large levels, a ring: it gives what lies before the chunk.
template <int W>
void maximumThroughRing(double* ring, unsigned size, unsigned position, unsigned lag,
                        const double* in, double* out, int frames) noexcept {
  const auto least = [](int x, unsigned y) {
    return x < static_cast<int>(y) ? x : static_cast<int>(y);
  };
  const unsigned write = position & (size - 1);
  const unsigned read = (write - lag) & (size - 1);
  const int fromRing = least(frames, lag);
  const int beforeEnd = least(fromRing, size - read);
  maximumOf<W>(ring + read, in, out, beforeEnd);
  maximumOf<W>(ring, in + beforeEnd, out + beforeEnd, fromRing - beforeEnd);
  maximumOf<W>(in, in + fromRing, out + fromRing, frames - fromRing);
  const int upToEnd = least(frames, size - write);
  copy(in, upToEnd, ring + write);
  copy(in + upToEnd, frames - upToEnd, ring);
}

/// The largest of the last samples of `from`, a level of any sign; the result stands in `a` or `b`.
template <int W>
double* slideMaximum(WindowLane& window, const double* from, int frames, WindowChunk& a,
                     WindowChunk& b) noexcept {
  double* in = a.samples();
  double* out = b.samples();
  copy(from, frames, in);
  for (int i = 0; i < kSlack; ++i) in[frames + i] = 0.0;
  const double loudest = rectify<W>(in, frames);
  window.loudest = loudest > window.loudest ? loudest : window.loudest;
  for (unsigned level = 0; level < window.levels; ++level) {
    const unsigned size = 1U << level;
    const unsigned lag = level + 1 == window.levels ? window.lastLag : size;
    double* const history = window.tree + (size - 1);
    if (level < WindowLane::kUnrolled) {
      const int kept = static_cast<int>(size);
      copy(history, kept, in - kept);
      maximumOf<W>(in - lag, in, out, frames);
      copy(in + (frames - kept), kept, history);
    } else {
      maximumThroughRing<W>(history, size, window.treePosition, lag, in, out, frames);
    }
    double* const next = in;
    in = out;
    out = next;
  }
  if (window.levels > 0) {
    const unsigned mask = (1U << window.levels) - 1;
    window.treePosition = (window.treePosition + static_cast<unsigned>(frames)) & mask;
  } else {
    window.treePosition = 0;
  }
  return in;
}

// A group of detectors, in rows.

template <int W, int N>
struct Group {
  static constexpr int kLanes = W * N;
  using V = Vector<W>;
  /// One value of each detector of the group.
  struct Row {
    V v[N];
  };
  /// A chunk of rows.
  struct Rows {
    double memory[kChunk * kLanes];
    [[nodiscard]] double* row(int i) noexcept { return memory + i * kLanes; }
  };

  static Row get(const double* from) noexcept {
    Row row;
    for (int n = 0; n < N; ++n) row.v[n] = load<W>(from + n * W);
    return row;
  }
  static void put(double* to, const Row& row) noexcept {
    for (int n = 0; n < N; ++n) store<W>(to + n * W, row.v[n]);
  }
  /// `of(lane)` for each of `count` lanes, 0 for the others.
  template <typename Of>
  static Row gather(int count, Of of) noexcept {
    double values[kLanes] = {};
    for (int lane = 0; lane < count; ++lane) values[lane] = of(lane);
    return get(values);
  }
  template <typename To>
  static void scatter(const Row& row, int count, To to) noexcept {
    double values[kLanes];
    put(values, row);
    for (int lane = 0; lane < count; ++lane) to(lane, values[lane]);
  }

  // The moving averages of the lookahead windows.

  /// What a sum over `length` samples changes by, as the ring takes in `samples` from `write` on.
  /// `stride` apart in `in`, and in rows in `out`.
  static void takeIn(double* ring, unsigned write, unsigned length, const double* in, int stride,
                     double* out, int frames) noexcept {
    constexpr unsigned mask = WindowLane::kRingMask;
    for (int i = 0; i < frames; ++i) {
      const unsigned at = write + static_cast<unsigned>(i);
      const double x = in[i * stride];
      ring[at & mask] = x;
      out[i * kLanes] = x - ring[(at - length) & mask];
    }
  }

  struct Averages {
    Row scale1, scale2;  // 0 where there are no averages: then rows pass as they are
    Row sum1, sum2;
  };

  static Averages averagesOf(WindowLane* const* windows, int count) noexcept {
    Averages averages;
    averages.scale1 =
        gather(count, [&](int l) { return windows[l]->averaging ? windows[l]->scale1 : 0.0; });
    averages.scale2 =
        gather(count, [&](int l) { return windows[l]->averaging ? windows[l]->scale2 : 0.0; });
    averages.sum1 = gather(count, [&](int l) { return windows[l]->sum1; });
    averages.sum2 = gather(count, [&](int l) { return windows[l]->sum2; });
    return averages;
  }
  static void storeSums(const Averages& averages, WindowLane* const* windows, int count) noexcept {
    scatter(averages.sum1, count, [&](int l, double sum) {
      if (windows[l]->averaging) windows[l]->sum1 = sum;
    });
    scatter(averages.sum2, count, [&](int l, double sum) {
      if (windows[l]->averaging) windows[l]->sum2 = sum;
    });
  }

  /// One average, in place: from the changes of its sum to its values.
  static V average(V& sum, V scale, V change) noexcept {
    sum = ((sum + change) + kFlush) - kFlush;
    return scale > 0.0 ? scale * sum : change;
  }

  /// The windows up to the changes of the second average's sum, in rows.
  static void windowRows(WindowLane* const* windows, double* const* signals, int count, int frames,
                         Averages& averages, Rows& rows) noexcept {
    WindowChunk a;
    WindowChunk b;
    for (int lane = 0; lane < count; ++lane) {
      WindowLane& window = *windows[lane];
      const double* const maxima = slideMaximum<W>(window, signals[lane], frames, a, b);
      double* const out = rows.memory + lane;
      if (window.averaging) {
        takeIn(window.maxima, window.write, window.length1, maxima, 1, out, frames);
      } else {
        for (int i = 0; i < frames; ++i) out[i * kLanes] = maxima[i];
      }
    }
    for (int lane = count; lane < kLanes; ++lane) {
      for (int i = 0; i < frames; ++i) rows.memory[i * kLanes + lane] = 0.0;
    }
    for (int i = 0; i < frames; ++i) {
      Row row = get(rows.row(i));
      for (int n = 0; n < N; ++n) {
        row.v[n] = average(averages.sum1.v[n], averages.scale1.v[n], row.v[n]);
      }
      put(rows.row(i), row);
    }
    for (int lane = 0; lane < count; ++lane) {
      WindowLane& window = *windows[lane];
      double* const in = rows.memory + lane;
      if (window.averaging) {
        takeIn(window.means, window.write, window.length2, in, kLanes, in, frames);
      }
      window.write = (window.write + static_cast<unsigned>(frames)) & WindowLane::kRingMask;
    }
  }

  static void window(WindowLane* const* windows, double* const* signals, int count,
                     int frames) noexcept {
    Rows rows;
    Averages averages = averagesOf(windows, count);
    windowRows(windows, signals, count, frames, averages, rows);
    for (int i = 0; i < frames; ++i) {
      Row row = get(rows.row(i));
      for (int n = 0; n < N; ++n) {
        row.v[n] = average(averages.sum2.v[n], averages.scale2.v[n], row.v[n]);
      }
      put(rows.row(i), row);
    }
    storeSums(averages, windows, count);
    for (int lane = 0; lane < count; ++lane) {
      for (int i = 0; i < frames; ++i) signals[lane][i] = rows.memory[i * kLanes + lane];
    }
  }

  // The detectors.

  enum Phase { kAttack, kHold, kFast, kSlow };  // as numbers, in rows

  struct Settings {
    Row attack, relSlow, relFast, rms, crest, hold, expand;
    StaticCurve curves[kLanes];
    Row shape, dynWeight, tranWeight;
    bool transients = false;  // some detector wants them
    bool flat = true;         // no detector's curve does anything
  };

  static void readTimes(DetectorLane* const* lanes, int count, Settings& s) noexcept {
    const auto of = [&](auto field) {
      return gather(count, [&](int l) { return lanes[l]->settings->times.*field; });
    };
    s.attack = of(&BallisticsCoefficients::attackCoef);
    s.relSlow = of(&BallisticsCoefficients::relSlowCoef);
    s.relFast = of(&BallisticsCoefficients::relFastCoef);
    s.rms = of(&BallisticsCoefficients::rmsCoef);
    s.crest = of(&BallisticsCoefficients::crestRatio);
    s.hold = of(&BallisticsCoefficients::holdSamples);
    s.expand = gather(count, [&](int l) { return lanes[l]->settings->expandMode ? 1.0 : 0.0; });
  }

  static void readCurves(DetectorLane* const* lanes, int count, Settings& s) noexcept {
    const auto of = [&](auto field) {
      return gather(count, [&](int l) { return lanes[l]->settings->*field; });
    };
    s.shape = of(&DetectorSettings::shape);
    s.dynWeight = of(&DetectorSettings::dynWeight);
    s.tranWeight = of(&DetectorSettings::tranWeight);
    for (int lane = 0; lane < count; ++lane) {
      const StaticCurve& curve = lanes[lane]->settings->curve;
      s.curves[lane] = curve;
      if (curve.slopeAbove != 0.0 || curve.slopeBelow != 0.0) s.flat = false;
      if (lanes[lane]->settings->tranWeight != 0.0) s.transients = true;
    }
  }

  struct Curves {
    Row high, low, rangeAbove, rangeBelow, slopeAbove, slopeBelow, knee;
  };
  static Curves curvesOf(const Settings& s) noexcept {
    const auto of = [&](auto field) {
      return gather(kLanes, [&](int l) { return s.curves[l].*field; });
    };
    return {of(&StaticCurve::thresholdHigh), of(&StaticCurve::thresholdLow),
            of(&StaticCurve::rangeAbove),    of(&StaticCurve::rangeBelow),
            of(&StaticCurve::slopeAbove),    of(&StaticCurve::slopeBelow),
            of(&StaticCurve::knee)};
  }

  /// `StaticCurve::gainDb`.
  static V gainDb(V level, const Curves& c, int n) noexcept {
    const V silent = broadcast<W>(StaticCurve::kSilenceDb);
    const V decibels = level < StaticCurve::kSilence ? silent : toDecibels<W>(level);
    const auto above = decibels >= c.high.v[n];
    const auto below = decibels <= c.low.v[n];
    const V lower = below ? (c.low.v[n] - decibels) * c.slopeBelow.v[n] : V{};
    const V way = above ? (decibels - c.high.v[n]) * c.slopeAbove.v[n] : lower;
    const V range = above ? c.rangeAbove.v[n] : c.rangeBelow.v[n];
    const V up = larger<W>(way, V{});
    const V t = up < 1.0 ? up : broadcast<W>(1.0);
    return (t - (2.0 * t * t * (t - 1.5) + t) * c.knee.v[n]) * range;
  }

  /// The curves' gains of the levels in `in`; `out` may be the same.
  static void curveRows(Rows& in, const Settings& s, Rows& out, int frames) noexcept {
    if (s.flat) {
      for (int i = 0; i < frames * kLanes; i += W) store<W>(out.memory + i, V{});
      return;
    }
    const Curves curves = curvesOf(s);
    for (int i = 0; i < frames; ++i) {
      Row row = get(in.row(i));
      for (int n = 0; n < N; ++n) row.v[n] = gainDb(row.v[n], curves, n);
      put(out.row(i), row);
    }
  }

  struct State {
    Row meanSquare, envelope, holdLeft, smoothedGain;
    Row envPeak, dynPeak, tranPeak;
    Row fast, slow;  // 1 where a release was that
  };

  static State stateOf(DetectorLane* const* lanes, int count) noexcept {
    const auto of = [&](auto field) {
      return gather(count, [&](int l) { return lanes[l]->state->*field; });
    };
    const auto peak = [&](auto field) {
      return gather(count, [&](int l) { return lanes[l]->*field; });
    };
    State state;
    state.meanSquare = of(&BallisticsState::meanSquare);
    state.envelope = of(&BallisticsState::envelope);
    state.holdLeft = of(&BallisticsState::holdLeft);
    state.smoothedGain = of(&BallisticsState::smoothedGain);
    state.envPeak = peak(&DetectorLane::envPeak);
    state.dynPeak = peak(&DetectorLane::dynPeak);
    state.tranPeak = peak(&DetectorLane::tranPeak);
    for (int n = 0; n < N; ++n) state.fast.v[n] = state.slow.v[n] = V{};
    return state;
  }

  static void storeState(const State& state, DetectorLane* const* lanes, int count) noexcept {
    const auto to = [&](const Row& row, auto field) {
      scatter(row, count, [&](int l, double x) { lanes[l]->state->*field = x; });
    };
    const auto peak = [&](const Row& row, auto field) {
      scatter(row, count, [&](int l, double x) { lanes[l]->*field = x; });
    };
    to(state.meanSquare, &BallisticsState::meanSquare);
    to(state.envelope, &BallisticsState::envelope);
    to(state.holdLeft, &BallisticsState::holdLeft);
    to(state.smoothedGain, &BallisticsState::smoothedGain);
    peak(state.envPeak, &DetectorLane::envPeak);
    peak(state.dynPeak, &DetectorLane::dynPeak);
    peak(state.tranPeak, &DetectorLane::tranPeak);
    scatter(state.fast, count, [&](int l, double x) {
      if (x != 0.0) lanes[l]->releasedFast = true;
    });
    scatter(state.slow, count, [&](int l, double x) {
      if (x != 0.0) lanes[l]->releasedSlow = true;
    });
  }

  /// One step of the level's ballistics: moves the envelope to `x` and tells the phase.
  static V followLevel(V x, const Settings& s, State& state, int n) noexcept {
    const V one = broadcast<W>(1.0);
    V& envelope = state.envelope.v[n];
    V& mean = state.meanSquare.v[n];
    V& hold = state.holdLeft.v[n];
    mean = mean + (x * x - mean) * s.rms.v[n];
    const auto slow = envelope * envelope <= mean * s.crest.v[n];
    const V release = slow ? broadcast<W>(kSlow) : broadcast<W>(kFast);
    const auto falls = x < envelope;
    const auto held = hold > 0.0;
    const V released = slow ? envelope * s.relSlow.v[n] : envelope * s.relFast.v[n];
    const V fallen = held ? envelope : released;
    const V risen = envelope + (x - envelope) * s.attack.v[n];
    const V left = held ? hold - one : hold;
    const V whileFalling = held ? broadcast<W>(kHold) : release;
    const V whileRising = s.expand.v[n] > 0.0 ? release : broadcast<W>(kAttack);
    hold = falls ? left : s.hold.v[n];
    envelope = ((falls ? fallen : risen) + kFlush) - kFlush;
    return falls ? whileFalling : whileRising;
  }

  /// One step of the gain's ballistics towards `g`, dB.
  static V followGain(V g, V phase, const Settings& s, State& state, int n) noexcept {
    const V one = broadcast<W>(1.0);
    V& y = state.smoothedGain.v[n];
    const auto expand = s.expand.v[n] > 0.0;
    const auto rises = expand & (g >= y);
    const auto attacks = rises | (~expand & (phase == double{kAttack}));
    const auto holds = ~rises & (phase == double{kHold});
    const auto fast = ~rises & (phase == double{kFast});
    // In "Expand" whatever is neither hold nor fast is slow, an attack of the level too.
    const V coefficient = fast ? one - s.relFast.v[n] : one - s.relSlow.v[n];
    const V used = attacks ? s.attack.v[n] : coefficient;
    state.fast.v[n] = fast ? one : state.fast.v[n];
    state.slow.v[n] = attacks | holds | fast ? state.slow.v[n] : one;
    const V moved = holds ? y : y + (g - y) * used;
    y = (moved + kFlush) - kFlush;
    return y;
  }

  /// From windows to envelopes: `rows` the changes of the second average's sum, then the levels.
  static void followLevels(const Settings& s, Averages& averages, State& state, Rows& rows,
                           Rows& smoothed, Rows& phases, int frames) noexcept {
    for (int i = 0; i < frames; ++i) {
      Row level = get(rows.row(i));
      Row envelope;
      Row phase;
      for (int n = 0; n < N; ++n) {
        level.v[n] = average(averages.sum2.v[n], averages.scale2.v[n], level.v[n]);
        phase.v[n] = followLevel(level.v[n], s, state, n);
        envelope.v[n] = state.envelope.v[n];
        state.envPeak.v[n] = larger<W>(envelope.v[n], state.envPeak.v[n]);
      }
      put(rows.row(i), level);
      put(smoothed.row(i), envelope);
      put(phases.row(i), phase);
    }
  }

  /// `a` and `b` in the proportion `share` of `b`; exactly `b` where that is 1.
  static V blend(V a, V b, V share) noexcept { return share == 1.0 ? b : a + (b - a) * share; }

  static void blendLevels(const Settings& s, Rows& levels, Rows& smoothed, Rows& out,
                          int frames) noexcept {
    for (int i = 0; i < frames; ++i) {
      const Row x = get(levels.row(i));
      Row y = get(smoothed.row(i));
      for (int n = 0; n < N; ++n) y.v[n] = blend(x.v[n], y.v[n], s.shape.v[n]);
      put(out.row(i), y);
    }
  }

  /// From gains to their smoothed parts, weighted; all in dB.
  static void followGains(const Settings& s, State& state, Rows& gains, Rows& instant, Rows& phases,
                          int frames) noexcept {
    const V one = broadcast<W>(1.0);
    for (int i = 0; i < frames; ++i) {
      Row gain = get(gains.row(i));
      const Row phase = get(phases.row(i));
      for (int n = 0; n < N; ++n) {
        const V x = gain.v[n];
        const V smoothed = followGain(x, phase.v[n], s, state, n);
        const V y = blend(x, smoothed, one - s.shape.v[n]);
        const V dynamic = y * s.dynWeight.v[n];
        V& dynPeak = state.dynPeak.v[n];
        dynPeak = larger<W>(dynamic, -dynamic) > larger<W>(dynPeak, -dynPeak) ? dynamic : dynPeak;
        gain.v[n] = dynamic;
        if (!s.transients) continue;
        const V beyond = get(instant.row(i)).v[n] - y;
        const V further = beyond < 0.0 ? beyond : V{};
        const V transient = (y > 0.0 ? larger<W>(beyond, V{}) : further) * s.tranWeight.v[n];
        V& tranPeak = state.tranPeak.v[n];
        tranPeak = larger<W>(transient, -transient) > larger<W>(tranPeak, -tranPeak) ? transient
                                                                                     : tranPeak;
        gain.v[n] = dynamic + transient;
      }
      put(gains.row(i), gain);
    }
  }

  static void toLinear(Rows& gains, int frames) noexcept {
    for (int i = 0; i < frames * kLanes; i += W) {
      store<W>(gains.memory + i, fromDecibels<W>(load<W>(gains.memory + i)));
    }
  }

  static void detect(DetectorLane* const* lanes, int count, int frames) noexcept {
    WindowLane* windows[kLanes];
    double* signals[kLanes];
    for (int lane = 0; lane < count; ++lane) {
      windows[lane] = lanes[lane]->window;
      signals[lane] = lanes[lane]->signal;
    }
    Settings settings;
    readTimes(lanes, count, settings);
    readCurves(lanes, count, settings);
    State state = stateOf(lanes, count);
    Averages averages = averagesOf(windows, count);
    Rows levels;
    Rows smoothed;
    Rows phases;
    Rows instant;
    windowRows(windows, signals, count, frames, averages, levels);
    followLevels(settings, averages, state, levels, smoothed, phases, frames);
    storeSums(averages, windows, count);
    if (settings.transients) curveRows(levels, settings, instant, frames);
    blendLevels(settings, levels, smoothed, levels, frames);
    curveRows(levels, settings, levels, frames);
    followGains(settings, state, levels, instant, phases, frames);
    storeState(state, lanes, count);
    toLinear(levels, frames);
    for (int lane = 0; lane < count; ++lane) {
      for (int i = 0; i < frames; ++i) signals[lane][i] = levels.memory[i * kLanes + lane];
    }
  }
};

// A pair has a group of its own width; more go by eights.

constexpr int kPair = 2;
constexpr int kMany = 8;

template <int W>
void windowAll(WindowLane* const* windows, double* const* signals, int count, int frames) noexcept {
  for (int first = 0; first < count;) {
    const int left = count - first;
    if (left <= kPair) {
      Group<kPair, 1>::window(windows + first, signals + first, left, frames);
      return;
    }
    const int taken = left < kMany ? left : kMany;
    Group<W, kMany / W>::window(windows + first, signals + first, taken, frames);
    first += taken;
  }
}

template <int W>
void detectAll(DetectorLane* const* lanes, int count, int frames) noexcept {
  for (int first = 0; first < count;) {
    const int left = count - first;
    if (left <= kPair) {
      Group<kPair, 1>::detect(lanes + first, left, frames);
      return;
    }
    const int taken = left < kMany ? left : kMany;
    Group<W, kMany / W>::detect(lanes + first, taken, frames);
    first += taken;
  }
}

template <int W>
constexpr DetectorKernels detectorKernelsOf() noexcept {
  return {windowAll<W>, detectAll<W>};
}

}  // namespace
