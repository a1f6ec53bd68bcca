#pragma once

/// A file built into the program; there is a zero byte at `end`. The build writes tables of them
/// into the section `corvanthelis_resources`, which the linker joins: usable before any constructor
/// runs.
struct Resource {
  const char* type;
  const char* name;
  const char* begin;
  const char* end;
};
