#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "host/engine_link.h"
#include "host/host_link.h"
#include "host/parameter_store.h"

class AEffEditor;

/// The parameters that take a value meant for one of them: those it takes along first, itself last;
/// none where it is to stay as it is.
struct ParameterTargets {
  std::array<std::int32_t, 8> ids{};
  std::size_t count = 0;

  void add(std::int32_t id) noexcept { ids[count++] = id; }
  [[nodiscard]] auto begin() const noexcept { return ids.begin(); }
  [[nodiscard]] auto end() const noexcept { return ids.begin() + count; }
};

/// Locks and links, as values see them.
class ParameterRules {
 public:
  ParameterRules() = default;
  virtual ~ParameterRules() = default;
  ParameterRules(const ParameterRules&) = delete;
  ParameterRules& operator=(const ParameterRules&) = delete;
  /// Any thread, the audio thread included.
  [[nodiscard]] virtual ParameterTargets targetsOf(std::int32_t index) const noexcept = 0;
};

/// Where every value enters, whoever sends it: into the store, on to the engine, then to the
/// editor. Nothing is told to the host but where it says so.
///
/// `normalised` is clamped to 0..1; NaN and ids out of range are ignored. Threads: control threads;
/// `setFromAudio` on the audio thread, where it neither locks nor allocates.
class ParameterInput {
 public:
  using Editor = std::unique_ptr<AEffEditor>;

  /// `stateChanged` is raised with each value. All must outlive it.
  ParameterInput(ParameterStore& values, HostLink& host, EngineLink& engine,
                 const ParameterRules& rules, const Editor& editor,
                 std::atomic<bool>& stateChanged);

  /// A value for a parameter and those it takes along. Another bank than the live one as value of
  /// the bank selector is switched to, unless a state is being loaded.
  void set(std::int32_t index, float normalised);
  /// The same from the audio thread: the values stand at once, engine, editor and host hear of them
  /// at the next `makeUpForAudio`.
  void setFromAudio(std::int32_t index, float normalised) noexcept;
  void makeUpForAudio();
  /// As `set`, told to the host.
  void automate(std::int32_t index, float normalised);
  /// This parameter alone, whatever its rules say.
  void put(std::int32_t index, float normalised);
  /// All that a parameter takes along take its value.
  void align(std::int32_t index);

  /// Makes the values of a program the present ones, but for the bank selector unless a state is
  /// being loaded, which it ends; the host hears of it.
  void applyProgram(std::int32_t program);
  /// The same of a bank, which is the live one from now on; `tellsHost` of each value.
  void applyBank(std::int32_t bank, bool tellsHost);
  void switchBank(std::int32_t bank) {
    applyBank(bank, tellsBanks.load(std::memory_order_relaxed));
  }
  void copyToBank(std::int32_t bank);

  /// Called, while updates wait, when the values of a bank or a program stand in place of those
  /// before: to bring in line what does not fit together. Set before any other call.
  void whenReplaced(std::function<void()> repair) { replaced = std::move(repair); }
  /// The host hears of every parameter when a bank is switched to.
  void setTellsBanks(bool on) noexcept { tellsBanks.store(on, std::memory_order_relaxed); }
  /// A state is being applied: values are taken as they come.
  [[nodiscard]] std::atomic<bool>& loading() noexcept { return isLoading; }

 private:
  [[nodiscard]] std::int32_t bankSwitchedTo(std::int32_t index, float normalised) const noexcept;
  void putFromAudio(std::int32_t index, float normalised) noexcept;
  void switchBankFromAudio(std::int32_t bank) noexcept;
  void tellReplaced() {
    if (replaced) replaced();
  }
  void show(std::int32_t index, float normalised);
  void markChanged() noexcept { stateChanged.store(true, std::memory_order_release); }

  ParameterStore& values;
  HostLink& host;
  EngineLink& engine;
  const ParameterRules& rules;
  const Editor& editor;
  std::atomic<bool>& stateChanged;
  std::function<void()> replaced;
  std::atomic<bool> isLoading{false};
  std::atomic<bool> tellsBanks{false};
  std::atomic<bool> audioChangedValues{false};
  std::atomic<std::int32_t> audioBankSwitch{-1};  // the bank that the audio thread switched to
  std::vector<std::atomic<bool>> audioChanged;    // by parameter
};
