#pragma once

#include <span>

/// A file within the program; a zero byte stands at `end`.
struct Resource {
  const char* type;
  const char* name;
  const char* begin;
  const char* end;
};

/// All of them. Written by the build, and ready before any constructor runs.
[[nodiscard]] std::span<const Resource> resourceTable() noexcept;
