#pragma once

#include <gtest/gtest.h>
#include <sndfile.h>

#include <string>
#include <vector>

#include "tests/support/test_directory.h"

/// Interleaved samples with what a file says about them.
struct Audio {
  int sampleRate = 48000;
  int channels = 2;
  std::vector<double> samples;
};

void writeAudio(const std::string& path, const Audio& audio,
                int format = SF_FORMAT_WAV | SF_FORMAT_DOUBLE);
[[nodiscard]] Audio readAudio(const std::string& path);

/// A tone with noise, the same for the same seed; within -0.5..0.5.
[[nodiscard]] Audio makeSignal(int frames, int channels, int sampleRate, unsigned seed);

/// What a run of the built program left.
struct ProgramRun {
  int status;
  std::string out;
  std::string err;
};

[[nodiscard]] int lineCount(const std::string& text);
void replaceAll(std::string& text, const std::string& what, const std::string& with);

/// Tests of the program with files of their own; no user has stored anything.
class ProgramTest : public testing::Test {
 protected:
  ProgramTest();
  [[nodiscard]] std::string file(const std::string& name) const { return directory.path(name); }
  /// Runs `arguments`, as a shell reads them, in which every @name stands for a file of the test,
  /// as in what the program answers.
  [[nodiscard]] ProgramRun run(std::string arguments) const;
  /// What the program answers to arguments that it takes without a warning.
  [[nodiscard]] std::string answer(const std::string& arguments) const;
  /// Follows data/NAME, whose lines begin with what they mean. A * stands for any text, \n, \t and
  /// \xHH for the bytes they name.
  ///
  ///     + NAME TEXT  a file is written
  ///     $ ARGUMENTS  the program is run; what it does not announce here it may not say
  ///     > TEXT       a line of its answer
  ///     ! TEXT       a warning
  ///     1! TEXT      its one line about a failure, with the exit status: no file has changed
  ///     = NAME NAME  two files are the same; with / they differ
  void follow(const std::string& name) const;

  const TestDirectory directory;
  std::string program = CORVANTHELIS_PROGRAM;

 private:
  struct Step {
    std::string arguments;
    int status = 0;
    std::string out;
    std::string err;
  };
  void check(const Step& step) const;
  /// Takes what a line says into `step`, which is checked when another begins.
  void take(const std::string& mark, const std::string& text, Step& step) const;
};
