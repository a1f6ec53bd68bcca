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

/// The parameters that take a value sent to one of them: its followers first, itself last. Empty if
/// that parameter is locked.
struct ParameterTargets {
  std::array<std::int32_t, 8> ids{};
  std::size_t count = 0;

  void add(std::int32_t id) noexcept { ids[count++] = id; }
  [[nodiscard]] auto begin() const noexcept { return ids.begin(); }
  [[nodiscard]] auto end() const noexcept { return ids.begin() + count; }
};

/// Decides which parameters take a value: the rules that locks and links make.
class ParameterRules {
 public:
  ParameterRules() = default;
  virtual ~ParameterRules() = default;
  ParameterRules(const ParameterRules&) = delete;
  ParameterRules& operator=(const ParameterRules&) = delete;
  /// Any thread, the audio thread included.
  [[nodiscard]] virtual ParameterTargets targetsOf(std::int32_t index) const noexcept = 0;
};

/// The way in for every parameter value, whoever sends it: into the store, on to the engine, then
/// to the editor. The host is told only where an operation says so.
///
/// `normalised` is clamped to 0..1; NaN and ids out of range are ignored. Threads: control threads;
/// `setFromAudio` on the audio thread, where it neither locks nor allocates.
class ParameterInput {
 public:
  using Editor = std::unique_ptr<AEffEditor>;

  /// `stateChanged` is raised with each value. All arguments must outlive it.
  ParameterInput(ParameterStore& values, HostLink& host, EngineLink& engine,
                 const ParameterRules& rules, const Editor& editor,
                 std::atomic<bool>& stateChanged);

  /// Sets a parameter and its followers, as the rules say. A new value of the bank selector
  /// switches banks, unless a state is being loaded.
  void set(std::int32_t index, float normalised);
  /// As `set`, from the audio thread: the values are stored at once; engine, editor and host learn
  /// of them at the next `makeUpForAudio`.
  void setFromAudio(std::int32_t index, float normalised) noexcept;
  void putFromAudio(std::int32_t index, float normalised) noexcept;  ///< as `put`, likewise
  /// Passes on the values that `setFromAudio` has stored; control threads.
  void makeUpForAudio();
  /// As `set`, and tells the host, unless the parameter is locked.
  void automate(std::int32_t index, float normalised);
  /// Sets this parameter alone, whatever the rules say. Switches banks as `set` does.
  void put(std::int32_t index, float normalised);
  /// Gives a parameter's present value to its followers.
  void align(std::int32_t index);

  /// Makes a program the present one, with all its values except the bank selector's, which counts
  /// only while a state is being loaded. Ends that loading and tells the host.
  void applyProgram(std::int32_t program);
  /// Makes a bank the live one, with all its values except the bank selector's. With `tellsHost`
  /// the host is told each value.
  void applyBank(std::int32_t bank, bool tellsHost);
  void switchBank(std::int32_t bank) {
    applyBank(bank, tellsBanks.load(std::memory_order_relaxed));
  }
  void copyToBank(std::int32_t bank);

  /// Sets what is called, while updates wait, after a bank or a program has replaced the values: it
  /// repairs values that do not fit together. Set it before any other call.
  void whenReplaced(std::function<void()> repair) { replaced = std::move(repair); }
  /// Whether `switchBank` tells the host every value.
  void setTellsBanks(bool on) noexcept { tellsBanks.store(on, std::memory_order_relaxed); }
  /// Raised while a state is being applied: values are taken as they are and switch no bank.
  [[nodiscard]] std::atomic<bool>& loading() noexcept { return isLoading; }

 private:
  [[nodiscard]] std::int32_t bankSwitchedTo(std::int32_t index, float normalised) const noexcept;
  void switchBankFromAudio(std::int32_t bank) noexcept;
  void tellReplaced() {
    engine.everythingReplaced();
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
  std::atomic<std::int32_t> audioBankSwitch{-1};  // bank the audio thread switched to, or -1
  std::vector<std::atomic<bool>> audioChanged;    // by parameter
};
