#pragma once

/// Marks allocations of its thread as the host's own while it lives. Tests that let a plug-in run
/// out of memory do not fail these.
class HostMemory {
 public:
  HostMemory() noexcept { ++depth; }
  ~HostMemory() { --depth; }
  HostMemory(const HostMemory&) = delete;
  HostMemory& operator=(const HostMemory&) = delete;

  [[nodiscard]] static bool inUse() noexcept { return depth > 0; }

 private:
  static inline thread_local int depth = 0;
};
