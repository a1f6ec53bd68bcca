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

/// Brings parameters to the engine: what depends on those that have changed, at once and as a
/// whole, but new filters only as often as `UpdateGate` lets them.
///
/// Where memory runs out, nothing is lost: the engine keeps what it has, `isMissing` tells, and a
/// later call finishes.
///
/// Threads: `parameterChanged`, `everythingChanged`, `addSamples`, `isOwed` and `isMissing` on any;
/// all else on control threads, one after the other by themselves, and on the audio thread in the
/// one block in which the host goes offline or comes back.
class ParameterHandOver final : public EngineLink {
 public:
  /// Milliseconds of a clock that never runs backwards; asked on any thread, must not lock.
  using Clock = std::function<std::int64_t()>;

  /// Raised when the bands' lists in the layout have become others, and with each value that tells
  /// which bands run and of what kind they are.
  struct ChainMarks {
    std::atomic<bool>& order;
    std::atomic<bool>& kinds;
  };

  /// `offline`: the host renders offline. All must outlive it. Everything is due at first.
  ParameterHandOver(const ParameterStore& values, compressor& engine,
                    const std::atomic<bool>& offline, Clock clock, const ChainMarks& marks);

  void parameterChanged(std::int32_t index) noexcept override;
  void everythingChanged() noexcept;  ///< also what no parameter tells: rate, offline state
  void update(bool force) override;
  void hold() override;
  void release() override;
  [[nodiscard]] bool isHeld();

  /// The engine for other settings, which the audio thread sees when `set` has returned.
  template <typename Set>
  auto withEngine(const Set& set) {
    const PlugBaseMutex::Scope scope(lock);
    const Publish after{engine};
    return set(engine);
  }
  /// The engine for a look, or for what the audio thread takes by itself.
  template <typename Ask>
  auto askEngine(const Ask& ask) {
    const PlugBaseMutex::Scope scope(lock);
    return ask(engine);
  }
  /// As `BandLayout::moveBand`, for use under a hold. Returns the order that results, as
  /// `kBandOrder` holds it.
  float moveBand(int band, int list, double frequency);

  void addSamples(std::int32_t frames) noexcept { gate.addSamples(frames); }
  /// Filters wait for the gate.
  [[nodiscard]] bool isOwed() const noexcept { return gate.isOwed(); }
  [[nodiscard]] bool isMissing() const noexcept { return missing.load(std::memory_order_relaxed); }

 private:
  struct Publish {
    compressor& engine;
    ~Publish() { engine.publish(); }
  };
  /// What is due, as bits: of each band, and of the whole.
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
  UpdateGate gate;  // but for its other threads' parts
};
