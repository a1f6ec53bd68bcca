#pragma once

#include <string>

/// What a run of the built program left.
struct ProgramRun {
  int status;
  std::string out;
  std::string err;
};

/// Runs the program with `arguments`, as a shell reads them.
[[nodiscard]] ProgramRun runProgram(const std::string& arguments);
/// The same for a copy of it.
[[nodiscard]] ProgramRun runProgram(const std::string& arguments, const std::string& program);

/// How many lines `text` has, every one of them with its end; -1 if the last has none.
[[nodiscard]] int lineCount(const std::string& text);
