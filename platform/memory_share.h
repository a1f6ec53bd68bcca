#pragma once

/// Counts the objects that hold most of a process's heap. It is the first member of each such
/// object, so that it is destroyed after everything the object holds. Once half of them are gone,
/// freed memory is returned to the system; the heap would keep it for the sake of a few small
/// blocks that lie after it. Threads: any but the audio thread.
class MemoryShare {
 public:
  /// With `counts` false it does nothing.
  explicit MemoryShare(bool counts) noexcept;
  ~MemoryShare();
  MemoryShare(const MemoryShare&) = delete;
  MemoryShare& operator=(const MemoryShare&) = delete;

 private:
  const bool isCounted;
};
