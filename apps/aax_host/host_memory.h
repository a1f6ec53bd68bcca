#pragma once

/// While one lives, what its thread allocates is the host's own: whoever lets a plug-in's memory
/// run out leaves that alone.
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
