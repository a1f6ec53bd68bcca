// Compiled once for each instruction set, with the set's options and its name in `KERNEL_SET`.
// As in vector_types.h, everything but the table is in an unnamed namespace and nothing of the
// standard library is used.
//
// There are two layouts: along time, a chunk of one detector; and in rows, one value of each
// detector of a group side by side, one row per sample. Sums and ballistics run in rows, where the
// steps of one detector do not wait for those of another.

#include "analysis/vector_math.h"
#include "dynamics/detector_kernels.h"
#include "dynamics/window_kernels_impl.h"

namespace {

// A group of detectors, in rows of W * N; T is the vector width for work along time.

template <int W, int N, int T>
struct Group {
  static constexpr int kLanes = W * N;
  using V = Vector<W>;
  /// One value of each detector of the group.
  struct Row {
    V v[N];
  };
  /// A chunk of rows.
  struct Rows {
    alignas(64) double memory[(kChunk + kSlack) * kLanes];
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

  /// From one array along time per lane to rows, and back.
  static void toRows(const TimeChunk* lanes, Rows& rows, int frames) noexcept {
    for (int lane = 0; lane < kLanes; lane += W) {
      for (int i = 0; i < frames; i += W) {
        V square[W];
        for (int j = 0; j < W; ++j) square[j] = load<W>(lanes[lane + j].samples + i);
        transpose<W>(square);
        for (int j = 0; j < W; ++j) store<W>(rows.row(i + j) + lane, square[j]);
      }
    }
  }
  static void toTime(Rows& rows, TimeChunk* lanes, int frames) noexcept {
    for (int lane = 0; lane < kLanes; lane += W) {
      for (int i = 0; i < frames; i += W) {
        V square[W];
        for (int j = 0; j < W; ++j) square[j] = load<W>(rows.row(i + j) + lane);
        transpose<W>(square);
        for (int j = 0; j < W; ++j) store<W>(lanes[lane + j].samples + i, square[j]);
      }
    }
  }
  static void toSignals(Rows& rows, double* const* signals, int count, int frames) noexcept {
    TimeChunk lanes[kLanes];
    toTime(rows, lanes, frames);
    for (int lane = 0; lane < count; ++lane) {
      copy<T>(lanes[lane].samples, frames, signals[lane]);
    }
  }

  struct Averages {
    Row scale1, scale2;  // 0 for lanes without averages, whose rows pass unchanged
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

  /// One moving average, in place: turns the changes of its sum into its values.
  static V average(V& sum, V scale, V change) noexcept {
    sum = ((sum + change) + kFlush) - kFlush;
    return scale > 0.0 ? scale * sum : change;
  }

  static void averageRows(Row& sums, const Row& scales, Rows& rows, int frames) noexcept {
    Row sum = sums;
    for (int i = 0; i < frames; ++i) {
      Row row = get(rows.row(i));
      for (int n = 0; n < N; ++n) row.v[n] = average(sum.v[n], scales.v[n], row.v[n]);
      put(rows.row(i), row);
    }
    sums = sum;
  }

  /// Sets `chunks` to the changes of the first average's sum, or to the maxima of lanes that take
  /// no average.
  static void slideMaxima(WindowLane* const* windows, double* const* signals, int count, int frames,
                          TimeChunk* chunks) noexcept {
    SlidingMaximum<T> maxima[kLanes];
    unsigned levels = 0;
    for (int lane = 0; lane < count; ++lane) {
      maxima[lane].begin(*windows[lane], signals[lane], frames);
      levels = windows[lane]->levels > levels ? windows[lane]->levels : levels;
    }
    for (unsigned level = 0; level < levels; ++level) {
      for (int lane = 0; lane < count; ++lane) maxima[lane].step(level, frames);
    }
    for (int lane = 0; lane < count; ++lane) {
      WindowLane& window = *windows[lane];
      const double* const result = maxima[lane].end(frames);
      if (window.averaging) {
        takeIn<T>(window.maxima, window.length1, result, chunks[lane].samples, frames);
      } else {
        copy<T>(result, frames, chunks[lane].samples);
      }
    }
  }

  /// Runs the windows up to the changes of the second average's sum, in rows.
  static void windowRows(WindowLane* const* windows, double* const* signals, int count, int frames,
                         Averages& averages, Rows& rows) noexcept {
    TimeChunk chunks[kLanes];
    slideMaxima(windows, signals, count, frames, chunks);
    for (int lane = count; lane < kLanes; ++lane) chunks[lane] = {};
    toRows(chunks, rows, frames);
    averageRows(averages.sum1, averages.scale1, rows, frames);
    TimeChunk means[kLanes];
    toTime(rows, means, frames);
    for (int lane = 0; lane < count; ++lane) {
      WindowLane& window = *windows[lane];
      if (window.averaging) {
        takeIn<T>(window.means, window.length2, means[lane].samples, chunks[lane].samples, frames);
      } else {
        copy<T>(means[lane].samples, frames, chunks[lane].samples);
      }
    }
    toRows(chunks, rows, frames);
  }

  // The detectors.

  enum Phase { kAttack, kHold, kFast, kSlow };  // as numbers, in rows

  struct Settings {
    Row attack, relSlow, relFast, rms, crest, hold, expand;
    Row shape, dynWeight, tranWeight;
    bool transients = false;  // some detector uses them
    bool flat = true;         // all curves are 0 dB everywhere
    bool bent = false;        // some curve has a knee
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

  static void readWeights(DetectorLane* const* lanes, int count, Settings& s) noexcept {
    const auto of = [&](auto field) {
      return gather(count, [&](int l) { return lanes[l]->settings->*field; });
    };
    s.shape = of(&DetectorSettings::shape);
    s.dynWeight = of(&DetectorSettings::dynWeight);
    s.tranWeight = of(&DetectorSettings::tranWeight);
    for (int lane = 0; lane < count; ++lane) {
      noteUse(lanes[lane]->settings->curve, lanes[lane]->settings->tranWeight, s);
    }
  }
  static void noteUse(const StaticCurve& curve, double tranWeight, Settings& s) noexcept {
    if (curve.slopeAbove != 0.0 || curve.slopeBelow != 0.0) s.flat = false;
    if (curve.knee != 0.0) s.bent = true;
    if (tranWeight != 0.0) s.transients = true;
  }

  /// Mixes `a` with the share `share` of `b`; exactly `b` if that is 1.
  template <typename Values>
  static Values blend(Values a, Values b, Values share) noexcept {
    return share == 1.0 ? b : a + (b - a) * share;
  }

  // Operations on single values treat the rows as one array, with a lane every `kLanes` values.

  using Wide = Vector<T>;
  static constexpr int kWides = kLanes > T ? kLanes / T : 1;
  /// One value per lane, repeated at each of its places in `kWides` vectors.
  struct LaneValues {
    Wide v[kWides];
  };
  template <typename Of>
  static LaneValues spread(int count, Of of) noexcept {
    double values[kWides * T] = {};
    for (int i = 0; i < kWides * T; ++i) {
      if (i % kLanes < count) values[i] = of(i % kLanes);
    }
    LaneValues spread;
    for (int n = 0; n < kWides; ++n) spread.v[n] = load<T>(values + n * T);
    return spread;
  }
  /// Calls `each` with every vector's place in `frames` rows and in a `LaneValues`.
  template <typename Each>
  static void forEachValue(int frames, Each each) noexcept {
    for (int i = 0; i < frames * kLanes; i += kWides * T) {
      for (int n = 0; n < kWides; ++n) each(i + n * T, n);
    }
  }

  struct Curves {
    LaneValues high, low, rangeAbove, rangeBelow, slopeAbove, slopeBelow, knee, shape;
  };
  /// `curve(lane)` and `shape(lane)` of each lane.
  template <typename Curve, typename Shape>
  static Curves curvesOf(int count, Curve curve, Shape shape) noexcept {
    const auto of = [&](auto field) {
      return spread(count, [&](int l) { return curve(l).*field; });
    };
    return {of(&StaticCurve::thresholdHigh), of(&StaticCurve::thresholdLow),
            of(&StaticCurve::rangeAbove),    of(&StaticCurve::rangeBelow),
            of(&StaticCurve::slopeAbove),    of(&StaticCurve::slopeBelow),
            of(&StaticCurve::knee),          spread(count, shape)};
  }
  static Curves curvesOf(DetectorLane* const* lanes, int count) noexcept {
    return curvesOf(
        count, [&](int l) -> const StaticCurve& { return lanes[l]->settings->curve; },
        [&](int l) { return lanes[l]->settings->shape; });
  }

  /// What of a setting is in the share `share` of the way from `a` to `b`; `a` if they are equal.
  template <typename Values>
  static Values between(Values a, Values b, Values share) noexcept {
    return a + (b - a) * share;
  }

  /// A group in which nothing moves.
  struct Still {
    static constexpr bool kCurves = false;
    static constexpr bool kWeights = false;
  };
  /// Where the curves of a group go, and how far they are in each row; lanes that do not move stay
  /// exactly where they are.
  struct CurveMotion {
    static constexpr bool kCurves = true;
    static constexpr bool kWeights = false;
    Curves curves;
    Rows shares;
    [[nodiscard]] Wide share(int i) const noexcept { return load<T>(shares.memory + i); }
  };
  /// The same for the shapes and weights too.
  struct Motion : CurveMotion {
    static constexpr bool kWeights = true;
    Row shape, dynWeight, tranWeight;
  };

  template <typename Moving>
  static void readMotion(DetectorLane* const* lanes, int count, int frames, Settings& s,
                         Moving& motion) noexcept {
    const auto curveOf = [&](int l) -> const StaticCurve& {
      return lanes[l]->motion != nullptr ? lanes[l]->motion->curve : lanes[l]->settings->curve;
    };
    const auto of = [&](auto moving, auto still) {
      return [lanes, moving, still](int l) {
        return lanes[l]->motion != nullptr ? lanes[l]->motion->*moving : lanes[l]->settings->*still;
      };
    };
    const auto shape = of(&DetectorMotion::shape, &DetectorSettings::shape);
    const auto tranWeight = of(&DetectorMotion::tranWeight, &DetectorSettings::tranWeight);
    motion.curves = curvesOf(count, curveOf, shape);
    if constexpr (Moving::kWeights) {
      motion.shape = gather(count, shape);
      motion.dynWeight =
          gather(count, of(&DetectorMotion::dynWeight, &DetectorSettings::dynWeight));
      motion.tranWeight = gather(count, tranWeight);
    }
    Wide none = {};
    forEachValue(frames, [&](int i, int) {
      asm("" : "+x"(none));  // NOLINT(hicpp-no-assembler): no call of the library
      store<T>(motion.shares.memory + i, none);
    });
    for (int lane = 0; lane < count; ++lane) {
      noteUse(curveOf(lane), tranWeight(lane), s);
      const DetectorMotion* const own = lanes[lane]->motion;
      if (own == nullptr) continue;
      for (int i = 0; i < frames; ++i) motion.shares.row(i)[lane] = own->shares[i];
    }
  }

  /// The gain in dB for a linear level, at place `i` of the rows; `Moving`: see `Still`.
  template <bool bent, typename Moving>
  static Wide gainDb(Wide level, const Curves& c, const Moving& motion, int i, int n) noexcept {
    const Wide decibels = decibelsOf(level);
    const Wide gain = gainAt<bent>(decibels, c, n);
    if constexpr (Moving::kCurves) {
      return between<Wide>(gain, gainAt<bent>(decibels, motion.curves, n), motion.share(i));
    } else {
      return gain;
    }
  }

  /// Of a linear level.
  static Wide decibelsOf(Wide level) noexcept {
    const Wide silent = broadcast<T>(StaticCurve::kSilenceDb);
    return level < StaticCurve::kSilence ? silent : toDecibels<T>(level);
  }

  /// `StaticCurve::gainAtDb`; `bent`: not all knees are 0.
  template <bool bent>
  static Wide gainAt(Wide decibels, const Curves& c, int n) noexcept {
    const auto above = decibels >= c.high.v[n];
    const auto below = decibels <= c.low.v[n];
    const Wide lower = below ? (c.low.v[n] - decibels) * c.slopeBelow.v[n] : Wide{};
    const Wide way = above ? (decibels - c.high.v[n]) * c.slopeAbove.v[n] : lower;
    const Wide range = above ? c.rangeAbove.v[n] : c.rangeBelow.v[n];
    const Wide up = larger<T>(way, Wide{});
    const Wide t = up < 1.0 ? up : broadcast<T>(1.0);
    if constexpr (!bent) return t * range;
    return (t - (2.0 * t * t * (t - 1.5) + t) * c.knee.v[n]) * range;
  }

  /// The gains that the curve gives for the levels, without ballistics.
  template <bool bent, typename Moving>
  static void instantGains(Rows& levels, const Curves& curves, const Moving& motion, Rows& gains,
                           int frames) noexcept {
    forEachValue(frames, [&](int i, int n) {
      store<T>(gains.memory + i, gainDb<bent>(load<T>(levels.memory + i), curves, motion, i, n));
    });
  }

  /// Turns levels into gains: a mixture, by the shape, of the gains for the levels and for their
  /// envelopes.
  template <bool bent, typename Moving>
  static void blendedGains(Rows& levels, Rows& envelopes, const Curves& curves,
                           const Moving& motion, int frames) noexcept {
    forEachValue(frames, [&](int i, int n) {
      Wide shape = curves.shape.v[n];
      if constexpr (Moving::kWeights) {
        shape = between<Wide>(shape, motion.curves.shape.v[n], motion.share(i));
      }
      const auto level =
          blend<Wide>(load<T>(levels.memory + i), load<T>(envelopes.memory + i), shape);
      store<T>(levels.memory + i, gainDb<bent>(level, curves, motion, i, n));
    });
  }

  template <bool bent, typename Moving>
  static void wantedGains(const Settings& s, const Curves& curves, const Moving& motion,
                          Rows& levels, Rows& envelopes, Rows& instant, int frames) noexcept {
    if (s.transients) instantGains<bent>(levels, curves, motion, instant, frames);
    if (s.flat) {
      levels = {};
    } else {
      blendedGains<bent>(levels, envelopes, curves, motion, frames);
    }
  }

  static void toLinear(Rows& gains, int frames) noexcept {
    forEachValue(frames, [&](int i, int) {
      store<T>(gains.memory + i, fromDecibels<T>(load<T>(gains.memory + i)));
    });
  }

  struct State {
    Row meanSquare, envelope, holdLeft, smoothedGain;
    Row envPeak, dynPeak, tranPeak;
    Row fast, slow;  // 1 where a release was fast or slow
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

  /// One step of the level's ballistics: moves the envelope towards `x` and returns the phase.
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
    // In expand mode everything except hold and fast release is slow, even an attack of the level.
    const V coefficient = fast ? one - s.relFast.v[n] : one - s.relSlow.v[n];
    const V used = attacks ? s.attack.v[n] : coefficient;
    state.fast.v[n] = fast ? one : state.fast.v[n];
    state.slow.v[n] = attacks | holds | fast ? state.slow.v[n] : one;
    const V moved = holds ? y : y + (g - y) * used;
    y = (moved + kFlush) - kFlush;
    return y;
  }

  /// From windows to envelopes. `rows` holds the changes of the second average's sum and is
  /// replaced by the levels.
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

  struct Weights {
    V shape, dynamic, transient;
  };
  template <typename Moving>
  static Weights weightsAt(const Settings& s, Moving& motion, int i, int n) noexcept {
    if constexpr (Moving::kWeights) {
      const V share = load<W>(motion.shares.row(i) + n * W);
      return {between<V>(s.shape.v[n], motion.shape.v[n], share),
              between<V>(s.dynWeight.v[n], motion.dynWeight.v[n], share),
              between<V>(s.tranWeight.v[n], motion.tranWeight.v[n], share)};
    } else {
      return {s.shape.v[n], s.dynWeight.v[n], s.tranWeight.v[n]};
    }
  }

  /// Turns gains into their weighted dynamic and transient parts; all in dB.
  template <typename Moving>
  static void followGains(const Settings& s, Moving& motion, State& state, Rows& gains,
                          Rows& instant, Rows& phases, int frames) noexcept {
    const V one = broadcast<W>(1.0);
    for (int i = 0; i < frames; ++i) {
      Row gain = get(gains.row(i));
      const Row phase = get(phases.row(i));
      for (int n = 0; n < N; ++n) {
        const V x = gain.v[n];
        const V smoothed = followGain(x, phase.v[n], s, state, n);
        const Weights weights = weightsAt(s, motion, i, n);
        const V y = blend<V>(x, smoothed, one - weights.shape);
        const V dynamic = y * weights.dynamic;
        V& dynPeak = state.dynPeak.v[n];
        dynPeak = larger<W>(dynamic, -dynamic) > larger<W>(dynPeak, -dynPeak) ? dynamic : dynPeak;
        gain.v[n] = dynamic;
        if (!s.transients) continue;
        const V beyond = get(instant.row(i)).v[n] - y;
        const V further = beyond < 0.0 ? beyond : V{};
        const V transient = (y > 0.0 ? larger<W>(beyond, V{}) : further) * weights.transient;
        V& tranPeak = state.tranPeak.v[n];
        tranPeak = larger<W>(transient, -transient) > larger<W>(tranPeak, -tranPeak) ? transient
                                                                                     : tranPeak;
        gain.v[n] = dynamic + transient;
      }
      put(gains.row(i), gain);
    }
  }

  template <typename Moving>
  static void detectWith(DetectorLane* const* lanes, int count, int frames) noexcept {
    WindowLane* windows[kLanes];
    double* signals[kLanes];
    for (int lane = 0; lane < count; ++lane) {
      windows[lane] = lanes[lane]->window;
      signals[lane] = lanes[lane]->signal;
    }
    Settings settings;
    readTimes(lanes, count, settings);
    readWeights(lanes, count, settings);
    Moving motion;
    if constexpr (Moving::kCurves) readMotion(lanes, count, frames, settings, motion);
    const Curves curves = curvesOf(lanes, count);
    State state = stateOf(lanes, count);
    Averages averages = averagesOf(windows, count);
    Rows levels;
    Rows smoothed;
    Rows phases;
    Rows instant;
    windowRows(windows, signals, count, frames, averages, levels);
    followLevels(settings, averages, state, levels, smoothed, phases, frames);
    storeSums(averages, windows, count);
    if (settings.bent) {
      wantedGains<true>(settings, curves, motion, levels, smoothed, instant, frames);
    } else {
      wantedGains<false>(settings, curves, motion, levels, smoothed, instant, frames);
    }
    followGains(settings, motion, state, levels, instant, phases, frames);
    storeState(state, lanes, count);
    toLinear(levels, frames);
    toSignals(levels, signals, count, frames);
  }

  static void detect(DetectorLane* const* lanes, int count, int frames) noexcept {
    bool curves = false;
    bool weights = false;
    for (int lane = 0; lane < count; ++lane) {
      const DetectorMotion* const motion = lanes[lane]->motion;
      if (motion == nullptr) continue;
      curves = true;
      const DetectorSettings& from = *lanes[lane]->settings;
      weights |= motion->shape != from.shape || motion->dynWeight != from.dynWeight ||
                 motion->tranWeight != from.tranWeight;
    }
    if (weights) {
      detectWith<Motion>(lanes, count, frames);
    } else if (curves) {
      detectWith<CurveMotion>(lanes, count, frames);
    } else {
      detectWith<Still>(lanes, count, frames);
    }
  }
};

// Up to two detectors form a group of their own width; more go in groups of eight.

constexpr int kPair = 2;
constexpr int kMany = 8;

template <int W>
void detectAll(DetectorLane* const* lanes, int count, int frames) noexcept {
  for (int first = 0; first < count;) {
    const int left = count - first;
    if (left <= kPair) {
      Group<kPair, 1, W>::detect(lanes + first, left, frames);
      return;
    }
    const int taken = left < kMany ? left : kMany;
    Group<W, kMany / W, W>::detect(lanes + first, taken, frames);
    first += taken;
  }
}

constexpr int kWidth = lanesOf(InstructionSet::KERNEL_SET);

constexpr DetectorKernels kTable = {detectAll<kWidth>};

}  // namespace

template <>
const DetectorKernels& detectorKernelsOf<InstructionSet::KERNEL_SET>() noexcept {
  return kTable;
}
