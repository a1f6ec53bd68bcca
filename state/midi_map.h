#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "state/user_store.h"

/// Which parameter each MIDI controller moves: one table for all instances of the machine.
///
/// Threads: `process` on audio threads, lock-free, any number of them; all else on any other
/// thread. What is learnt by `process` is in force at once and stored by the next `saveChanges`.
class MIDIMap {
 public:
  static constexpr int kControllers = 128;

  /// A parameter to be set, 0..1.
  struct Move {
    std::int32_t id;
    float normalised;
  };

  /// Reads the stored table. `store` must outlive it.
  explicit MIDIMap(UserStore& store);

  /// The first controller that moves `id`; -1 for none.
  [[nodiscard]] std::int32_t controllerOf(std::int32_t id) const noexcept;
  /// What controller 0..127 moves; -1 for nothing and out of range.
  [[nodiscard]] std::int32_t parameterOf(std::int32_t controller) const noexcept;
  /// The parameter that takes the next controller that comes; -1 for none, and so all below 0.
  void setLearnTarget(std::int32_t id) noexcept;
  [[nodiscard]] std::int32_t getLearnTarget() const noexcept;
  /// Takes `id` from all controllers, gives it to this one (seven bits of it) and stores that.
  void learn(std::int32_t id, std::int32_t controller);
  void unlearn(std::int32_t id);

  /// One MIDI message of at least three bytes: learns if that was asked for, and tells what to set.
  /// Only controller messages, on any channel, do anything.
  [[nodiscard]] std::optional<Move> process(const std::uint8_t* message) noexcept;

  /// Stores what has changed, into the table as other processes have left it, and takes over what
  /// they have changed. Returns whether there was anything; what could not be written is tried
  /// again some hundred calls later. Never on the audio thread.
  bool saveChanges();

 private:
  /// What a controller moves, and how often that was edited here. Aligned as one word, or some
  /// compilers call a library with locks for it.
  struct alignas(8) Entry {
    std::int32_t id = -1;
    std::uint32_t edits = 0;
  };
  static_assert(std::atomic<Entry>::is_always_lock_free);
  using Entries = std::array<Entry, kControllers>;
  using Table = std::array<std::int32_t, kControllers>;

  static void readTable(const std::optional<std::string>& text, Table& table);
  void release(std::int32_t id) noexcept;
  void learnLive(std::int32_t id, std::int32_t controller) noexcept;
  bool isChanged(std::size_t index, const Entry& entry) const noexcept;
  std::optional<std::string> mergeInto(const std::optional<std::string>& stored, Entries& seen);

  UserStore& store;
  // One word each, so that an edit between looking and taking over is never lost. All relaxed: an
  // entry means nothing for another.
  std::array<std::atomic<Entry>, kControllers> entries{};
  std::array<std::atomic<std::uint32_t>, kControllers> storedEdits{};  // the count last stored
  std::atomic<std::int32_t> learnTarget{-1};
  std::atomic<int> callsToWait{0};  // of `saveChanges`, after a failure
};
