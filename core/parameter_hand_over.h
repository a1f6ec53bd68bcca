#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>

#include "core/update_gate.h"
#include "dynamics/compressor.h"
#include "editing/parameter_ids.h"
#include "host/engine_link.h"
#include "host/parameter_store.h"
#include "platform/plug_base_mutex.h"

/// Passes changed parameters to the engine. Each update sets everything that depends on them and
/// publishes it as one; only filters are redesigned no more often than `UpdateGate` allows.
///
/// If memory runs out, the engine keeps what it has, `isMissing` is true, and a later update
/// finishes the work.
///
/// Threads: `parameterChanged`, `everythingChanged`, `addSamples`, `isOwed` and `isMissing` on any;
/// all else on control threads, where calls serialise themselves, and on the audio thread in the
/// one block in which the host goes offline or comes back.
class ParameterHandOver final : public EngineLink {
 public:
  /// Milliseconds of a clock that never runs backwards; called on any thread, must not lock.
  using Clock = std::function<std::int64_t()>;

  /// `order` is raised when the bands' order in the layout changes, `kinds` with each value that
  /// sets a band's state, type or shape.
  struct ChainMarks {
    std::atomic<bool>& order;
    std::atomic<bool>& kinds;
  };

  /// `offline`: whether the host renders offline. All arguments must outlive it. The first update
  /// hands over everything.
  ParameterHandOver(const ParameterStore& values, compressor& engine,
                    const std::atomic<bool>& offline, Clock clock, const ChainMarks& marks);

  void parameterChanged(std::int32_t index) noexcept override;
  void everythingChanged() noexcept;  ///< for changes that are no parameters: rate, offline state
  void update(bool force) override;
  void hold() override;
  void release() override;
  [[nodiscard]] bool isHeld();

  /// Calls `set` with the engine, to change settings, and publishes them once it has returned.
  template <typename Set>
  auto withEngine(const Set& set) {
    const PlugBaseMutex::Scope scope(lock);
    const Publish after{engine};
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

  void addSamples(std::int32_t frames) noexcept { gate.addSamples(frames); }
  /// Whether a redesign of filters waits for the gate.
  [[nodiscard]] bool isOwed() const noexcept { return gate.isOwed(); }
  [[nodiscard]] bool isMissing() const noexcept { return missing.load(std::memory_order_relaxed); }

 private:
  struct Publish {
    compressor& engine;
    ~Publish() { engine.publish(); }
  };
  /// The work still to be done, as bits: per band, and for the whole chain.
  struct Due {
    std::array<std::uint32_t, kNumBands> bands{};
    std::uint32_t whole = 0;
  };

  void collect() noexcept;
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
  void updateDynamics(int band);
  void updateLinkage(int band);
  void updateRoute(int band);
  [[nodiscard]] float plain(int id) const noexcept { return values.plain(id); }
  [[nodiscard]] bool isOn(int id) const noexcept { return values.plain(id) != 0.0F; }

  const ParameterStore& values;
  compressor& engine;
  const std::atomic<bool>& isOffline;
  const Clock clock;
  const ChainMarks marks;
  std::array<std::atomic<std::uint32_t>, kNumBands> changedBands{};
  std::atomic<std::uint32_t> changedWhole{0};
  std::atomic<bool> missing{false};

  PlugBaseMutex lock;
  // Under the lock.
  Due due;
  int holds = 0;
  UpdateGate gate;  // apart from the calls it allows on other threads
};
