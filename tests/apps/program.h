#pragma once

#include <gtest/gtest.h>

#include <string>

#include "tests/apps/test_files.h"

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

void replaceAll(std::string& text, const std::string& what, const std::string& with);

/// Tests of the program with files of their own.
class ProgramTest : public testing::Test {
 protected:
  [[nodiscard]] std::string file(const std::string& name) const { return directory.path(name); }
  /// Runs `arguments` in which every @name stands for a file of the test, as in what it answers;
  /// by the built program unless another is named.
  ProgramRun run(std::string arguments, const std::string& program = "") const;

  const TestDirectory directory;
};
