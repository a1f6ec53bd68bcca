#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "host/parameter_keys.h"
#include "host/parameter_record.h"
#include "host/program_record.h"

/// All parameter values of an effect: the present ones, those of its programs and those of banks A
/// to H. It notifies nobody of changes.
///
/// Reads of ids out of range return 0, writes are ignored. `normalised` is 0..1, `plain` in the
/// unit of the parameter's label. Threads: values are single 32-bit words, read and written
/// atomically on any thread, the audio thread included; names, and programs or banks as a whole,
/// are for one thread at a time.
class ParameterStore {
 public:
  static constexpr int kNumBanks = 8;

  /// `table` gives the records with the default in `value`; `keys` must outlive the store. The
  /// groups of the records and `bandNames` come from the identifiers: "kB3Ratio" belongs to band 3.
  ParameterStore(std::span<const ParameterRecord> table, const ParameterKeys& keys,
                 int numPrograms);

  // The table.
  [[nodiscard]] std::int32_t count() const noexcept {
    return static_cast<std::int32_t>(records.size());
  }
  [[nodiscard]] bool contains(std::int32_t index) const noexcept {
    return index >= 0 && index < count();
  }
  /// `index` must be in range. `value` and `normalised` may change while they are read: use the
  /// getters for them.
  [[nodiscard]] const ParameterRecord& info(std::int32_t index) const noexcept;
  [[nodiscard]] const ParameterKeys& keys() const noexcept { return parameterKeys; }
  [[nodiscard]] const std::vector<std::string>& bandNames() const noexcept { return names; }
  [[nodiscard]] float toPlain(std::int32_t index, float normalised) const noexcept;
  [[nodiscard]] float toNormalised(std::int32_t index, float plain) const noexcept;
  /// Number of steps from the lowest value to the highest, as hosts count them; 0 if continuous.
  [[nodiscard]] std::int32_t stepCount(std::int32_t index) const noexcept;
  /// Width of a step in plain units; 1 also for a continuous parameter.
  [[nodiscard]] std::int32_t stepSize(std::int32_t index) const noexcept;
  /// For hosts that treat stepped parameters as a count of steps: maps such a value for the host
  /// or, coming from the host, for the engine. Values of continuous parameters stay unchanged.
  [[nodiscard]] float hostStepValue(std::int32_t index, float value, bool toHost) const noexcept;
  /// The defaults of the table, normalised; they never change.
  [[nodiscard]] const ProgramRecord& defaults() const noexcept { return defaultValues; }

  // Present values.
  [[nodiscard]] float normalised(std::int32_t index) const noexcept;
  [[nodiscard]] float plain(std::int32_t index) const noexcept;
  /// Stores a value in 0..1 in the record, the present program and the live bank. When threads
  /// write one parameter at the same time, all three places end with the value of the same writer.
  void store(std::int32_t index, float normalised) noexcept;

  // Programs; at least one.
  [[nodiscard]] std::span<ProgramRecord> programs() noexcept { return programList; }
  [[nodiscard]] std::span<const ProgramRecord> programs() const noexcept { return programList; }
  [[nodiscard]] bool isProgram(std::int32_t program) const noexcept;
  [[nodiscard]] std::int32_t currentProgram() const noexcept {
    return curProgram.load(std::memory_order_relaxed);
  }
  void selectProgram(std::int32_t program) noexcept {
    curProgram.store(program, std::memory_order_relaxed);
  }
  [[nodiscard]] ProgramRecord& program() noexcept;  ///< the present one

  // Banks.
  [[nodiscard]] static constexpr bool isBank(std::int32_t bank) noexcept {
    return bank >= 0 && bank < kNumBanks;
  }
  [[nodiscard]] std::array<ProgramRecord, kNumBanks>& banks() noexcept { return bankList; }
  [[nodiscard]] const std::array<ProgramRecord, kNumBanks>& banks() const noexcept {
    return bankList;
  }
  [[nodiscard]] std::int32_t currentBank() const noexcept {
    return curBank.load(std::memory_order_relaxed);
  }
  /// The parameter whose value selects the live bank, or -1.
  [[nodiscard]] std::int32_t bankSelector() const noexcept { return selector; }
  void setBankSelector(std::int32_t id) noexcept { selector = id; }
  /// The bank that a value of the selector stands for, if `index` is the selector and the bank is
  /// not the live one; otherwise -1.
  [[nodiscard]] std::int32_t bankSwitchedTo(std::int32_t index, float normalised) const noexcept;
  /// Makes a bank the live one and sets the selector to it; all other present values stay.
  void selectBank(std::int32_t bank) noexcept;
  [[nodiscard]] float bankValue(std::int32_t bank, std::int32_t index) const noexcept;
  /// Rounds a bank's values to those that their curves can reach.
  void snapBank(std::int32_t bank) noexcept;
  void copyToBank(std::int32_t bank) noexcept;  ///< the present values

 private:
  void takeGroups();
  void fill(ProgramRecord& program) const;

  std::vector<ParameterRecord> records;  // `value` and `normalised` by `host/shared_value.h`
  const ParameterKeys& parameterKeys;
  std::vector<std::string> names;
  std::vector<ProgramRecord> programList;  // `values` of these and the banks are shared, too
  std::array<ProgramRecord, kNumBanks> bankList;
  ProgramRecord defaultValues;
  std::atomic<std::int32_t> curProgram{0};
  std::atomic<std::int32_t> curBank{0};
  std::int32_t selector = -1;
};
