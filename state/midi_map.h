#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "state/user_store.h"

/// The parameter that each MIDI controller moves: one table for all instances of the machine.
///
/// Threads: `process` on any number of audio threads, lock-free; all else on any other thread. What
/// `process` learns takes effect at once and is stored by the next `saveChanges`.
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
  /// The parameter that controller 0..127 moves; -1 for none or if out of range.
  [[nodiscard]] std::int32_t parameterOf(std::int32_t controller) const noexcept;
  /// Chooses the parameter that learns the next controller to arrive; below 0 for none.
  void setLearnTarget(std::int32_t id) noexcept;
  [[nodiscard]] std::int32_t getLearnTarget() const noexcept;
  /// Assigns `id` to this controller only (its lowest seven bits count) and stores the table.
  void learn(std::int32_t id, std::int32_t controller);
  void unlearn(std::int32_t id);

  /// Whether `process` would do anything with a message; any thread.
  [[nodiscard]] bool takes(const std::uint8_t* message) const noexcept;
  /// Takes one MIDI message of at least three bytes: learns its controller if a target is set, and
  /// returns the parameter to set. Ignores everything but controller messages, on any channel.
  [[nodiscard]] std::optional<Move> process(const std::uint8_t* message) noexcept;

  /// Merges changes into the stored table and takes over what other processes have changed there.
  /// Returns whether anything had to be stored; if writing failed, tries again some hundred calls
  /// later. Never on the audio thread.
  bool saveChanges();

 private:
  /// The parameter of a controller, and how often it was edited here. Aligned as one word;
  /// otherwise some compilers call a library that locks.
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
  // One word each, so that an edit between reading and taking over is never lost. All relaxed:
  // entries are independent of each other.
  std::array<std::atomic<Entry>, kControllers> entries{};
  std::array<std::atomic<std::uint32_t>, kControllers> storedEdits{};  // `edits` when last stored
  std::atomic<std::int32_t> learnTarget{-1};
  std::atomic<int> callsToWait{0};  // calls of `saveChanges` to skip after a failure
};
