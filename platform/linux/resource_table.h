#pragma once

/// A file within the program; a zero byte stands at `end`. The build writes tables of them into the
/// section `corvanthelis_resources`, which the linker joins: ready before any constructor runs.
struct Resource {
  const char* type;
  const char* name;
  const char* begin;
  const char* end;
};
