#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>

#include "core/update_gate.h"
#include "dynamics/compressor.h"
#include "dynamics/live_values.h"
#include "editing/parameter_ids.h"
#include "host/engine_link.h"
#include "host/parameter_store.h"
#include "platform/plug_base_mutex.h"

/// Whether a parameter's values reach the chain on the audio thread, since no filter, place or
/// delay hangs on them.
[[nodiscard]] bool isLiveParameter(int id) noexcept;

/// Passes changed parameters to the engine. Each update sets everything that depends on them and
/// publishes it as one; only filters are redesigned no more often than `UpdateGate` allows.
///
/// While the host plays in real time, what changes the shape or the latency of the chain makes a
/// new one, which is faded in; while one is under way, updates wait, unless the host has stopped
/// its calls. Values that need no new filter go to the chain on the audio thread, at the next
/// block, without an update.
///
/// If memory runs out, the engine keeps what it has, `isMissing` is true, and a later update
/// finishes the work.
///
/// Threads: `parameterChanged`, `everythingChanged`, `everythingReplaced`, `addSamples`, `isOwed`
/// and `isMissing` on any; `takeLive` on the audio thread; all else on control threads, where calls
/// serialise themselves, and on the audio thread in the one block in which the host goes offline or
/// comes back.
class ParameterHandOver final : public EngineLink, public LiveValues {
 public:
  /// Milliseconds of a clock that never runs backwards; called on any thread, must not lock.
  using Clock = std::function<std::int64_t()>;

  /// `order` is raised when the bands' order in the layout changes, `kinds` with each value that
  /// sets a band's state, type or shape.
  struct ChainMarks {
    std::atomic<bool>& order;
    std::atomic<bool>& kinds;
  };

  /// What the host says of its calls: that it renders offline, or plays in real time.
  struct HostPace {
    const std::atomic<bool>& isOffline;
    const std::atomic<bool>& isRealtime;
  };

  /// All arguments must outlive it. The first update hands over everything.
  ParameterHandOver(const ParameterStore& values, compressor& engine, const HostPace& pace,
                    Clock clock, const ChainMarks& marks);

  void parameterChanged(std::int32_t index) noexcept override;
  void everythingChanged() noexcept;  ///< for changes that are no parameters: rate, offline state
  void everythingReplaced() noexcept override;
  void update(bool force) override;
  void hold() override;
  void release() override;
  [[nodiscard]] bool isHeld();

  /// Calls `set` with the engine, to change settings, and publishes them once it has returned, or
  /// with an update to come.
  template <typename Set>
  auto withEngine(const Set& set) {
    const PlugBaseMutex::Scope scope(lock);
    const Publish after{*this};
    return set(engine);
  }
  /// Calls `ask` with the engine, for reading or for settings that need no publishing.
  template <typename Ask>
  auto askEngine(const Ask& ask) {
    const PlugBaseMutex::Scope scope(lock);
    return ask(engine);
  }
  /// See `BandLayout::moveBand`; for use between `hold` and `release`. Returns the resulting order
  /// as a plain value of `kBandOrder`.
  float moveBand(int band, int list, double frequency);

  void takeLive(SignalChain& chain, const Replaced& published) noexcept override;
  /// Whether chains are faded in real time; if not, they change at once.
  void setSeamless(bool on) noexcept { seamless.store(on, std::memory_order_relaxed); }
  [[nodiscard]] bool isSeamless() const noexcept {
    return seamless.load(std::memory_order_relaxed);
  }
  /// Whether values go to the chain on the audio thread whatever the pace.
  void setAlwaysLive(bool on) noexcept { alwaysLive.store(on, std::memory_order_relaxed); }
  [[nodiscard]] bool isAlwaysLive() const noexcept {
    return alwaysLive.load(std::memory_order_relaxed);
  }
  /// In samples, of the next block.
  [[nodiscard]] int getLatency();

  void addSamples(std::int32_t frames) noexcept {
    gate.addSamples(frames);
    hasRun.store(true, std::memory_order_relaxed);
  }
  /// Whether a redesign of filters waits for the gate, or a change for the end of another.
  [[nodiscard]] bool isOwed() const noexcept {
    return gate.isOwed() || waiting.load(std::memory_order_relaxed);
  }
  [[nodiscard]] bool isMissing() const noexcept { return missing.load(std::memory_order_relaxed); }

 private:
  /// Not while the audio thread takes no values; the update that ends that publishes. Until then
  /// the engine's values of parameters may be older than those that the audio thread has taken, and
  /// it could not take them again.
  struct Publish {
    ParameterHandOver& owner;
    ~Publish() {
      if (!owner.frozen && !owner.replaced.load(std::memory_order_relaxed)) owner.engine.publish();
    }
  };
  /// The work still to be done, as bits: per band, and for the whole chain.
  struct Due {
    std::array<std::uint32_t, kNumBands> bands{};
    std::uint32_t whole = 0;
    bool replaced = false;  // all values by those of a whole state
  };

  void collect() noexcept;
  void setFrozen(bool on) noexcept;
  [[nodiscard]] bool changesChain();
  [[nodiscard]] bool changesStages();
  [[nodiscard]] bool changesBand(int band);
  [[nodiscard]] bool startChange();
  [[nodiscard]] bool hasStopped();
  [[nodiscard]] Oversampling oversampling() const noexcept;
  void handOver(bool asOne);
  void handOverDue(bool asOne);
  template <typename Run>
  void forDueBands(std::uint32_t what, const Run& run);
  template <typename Run>
  void ifDue(std::uint32_t what, const Run& run);
  void updatePlace(int band);
  void updateFilter(int band);
  void arrange();
  void updateSplits();
  void redesign();
  void updateGlobals();
  template <typename Target>
  void setGains(Target& target) const noexcept;
  [[nodiscard]] BandDynamics dynamicsOf(int band) const noexcept;
  [[nodiscard]] SidechainLinkage linkageOf(int band) const noexcept;
  [[nodiscard]] double trimOf(int band) const noexcept {
    return static_cast<double>(plain(bandParameterId(band, kB1SCTrim)));
  }
  [[nodiscard]] bool playsLive() const noexcept {
    return isAlwaysLive() || pace.isRealtime.load(std::memory_order_relaxed);
  }
  void markReplaced(std::uint32_t bands) noexcept;
  [[nodiscard]] bool hasFrozenSince(unsigned before) noexcept;
  void takeLiveGains(SignalChain& chain, unsigned before) noexcept;
  void takeLiveBand(int band, SignalChain& chain, unsigned before) noexcept;
  void readLive(int band, std::uint32_t what, double rate,
                EngineSettings::Band& fresh) const noexcept;
  void updateRoute(int band);
  [[nodiscard]] float plain(int id) const noexcept { return values.plain(id); }
  [[nodiscard]] bool isOn(int id) const noexcept { return values.plain(id) != 0.0F; }

  const ParameterStore& values;
  compressor& engine;
  const HostPace pace;
  const Clock clock;
  const ChainMarks marks;
  std::array<std::atomic<std::uint32_t>, kNumBands> changedBands{};
  std::atomic<std::uint32_t> changedWhole{0};
  std::atomic<bool> missing{false};
  std::atomic<bool> waiting{false};   // a change of the chain for the end of another
  std::atomic<bool> replaced{false};  // values of a whole state have come
  std::atomic<bool> hasRun{false};    // since `hasStopped` was asked last
  std::atomic<bool> seamless{true};
  std::atomic<bool> alwaysLive{false};

  // Values for the audio thread: what has changed, and a number that is odd while the values do not
  // belong to the chain that plays.
  std::array<std::atomic<std::uint32_t>, kNumBands> liveBands{};
  std::atomic<bool> liveGains{false};
  std::atomic<unsigned> freezes{0};

  PlugBaseMutex lock;
  // Under the lock.
  Due due;
  int holds = 0;
  bool frozen = false;
  std::int64_t lastRun = 0;             // ms of the clock; as `hasStopped` knew
  std::array<int, kNumBands> shapes{};  // of the bands' filters, as last set
  UpdateGate gate;                      // apart from the calls it allows on other threads
};
