#pragma once

#include <gtest/gtest.h>

#include <string>

#include "tests/support/test_directory.h"

/// How a run of the built program ended, and what it told.
struct ProgramRun {
  int status = 0;
  std::string out;
  std::string err;
};

/// Tests of the program with files of their own; no user has stored anything.
class ProgramTest : public testing::Test {
 protected:
  ProgramTest();
  [[nodiscard]] std::string file(const std::string& name) const { return directory.path(name); }
  /// A text in which every @name becomes the path of that file of the test.
  [[nodiscard]] std::string withPaths(std::string text) const;
  /// Runs `arguments`, as a shell reads them; what else the shell is asked to do may follow.
  [[nodiscard]] ProgramRun run(const std::string& arguments) const;
  /// Follows data/NAME, whose lines begin with what they mean. A * stands for any text, <1f> for
  /// the byte of that number.
  ///
  ///     + NAME TEXT  a file is written
  ///     & NAME RATE CHANNELS FRAMES SEED LEVELS  an audio file: a tone with noise, the same for
  ///                  the same seed, within -0.5..0.5, with another level for each channel, if any
  ///                  is told. By seed 0 a tone of 997 Hz, at which the weighting of loudness is
  ///                  what its offset takes back.
  ///     . NAME RATE CHANNELS SAMPLES  an audio file with these samples
  ///     % COMMAND    a shell does something else, or compares files
  ///     $ ARGUMENTS  the program is run; what it does not announce here it may not say
  ///     > TEXT       a line of its answer
  ///     ! TEXT       a warning
  ///     1! TEXT      its one line about a failure, with the exit status: no file has changed
  ///     ~ NAME NUMBERS  all numbers of a text but the measured speed, or format, rate, channels
  ///                  and samples of an audio file; of more than 64 the first three, their count
  ///                  and four weighted sums. CORVANTHELIS_RECORD=1 writes these lines anew.
  void follow(const std::string& name) const;
  /// Makes or compares a file, by a line of one of these marks.
  void act(char mark, const std::string& text) const;

  const TestDirectory directory;
  std::string program;  // the one that was built, unless a test has its own

 private:
  struct Step {
    std::string arguments;
    ProgramRun wanted;
  };
  void check(const Step& step) const;
  /// Takes what a line says into `step`, which is checked when another begins.
  void take(char mark, const std::string& text, Step& step) const;
};
