#pragma once

#include <string>

/// What a run of the built program left.
struct ProgramRun {
  int status;
  std::string out;
  std::string err;
};

/// Runs the program, or a copy of it, with `arguments`, as a shell reads them.
[[nodiscard]] ProgramRun runProgram(const std::string& arguments,
                                    const std::string& program = CORVANTHELIS_PROGRAM);

/// How many lines `text` has, every one of them with its end; -1 if the last has none.
[[nodiscard]] int lineCount(const std::string& text);
