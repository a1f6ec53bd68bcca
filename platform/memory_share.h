#pragma once

/// Lives in each of the objects that hold most of a process's heap, before all that these hold, and
/// so outlives it. Once half of the objects are gone, what they have freed is given back to the
/// system: the heap alone keeps it, since a few small blocks of others lie behind.
/// Threads: any but the audio thread.
class MemoryShare {
 public:
  /// One that does not count does nothing.
  explicit MemoryShare(bool counts) noexcept;
  ~MemoryShare();
  MemoryShare(const MemoryShare&) = delete;
  MemoryShare& operator=(const MemoryShare&) = delete;

 private:
  const bool isCounted;
};
