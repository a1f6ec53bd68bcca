// How the built program answers: statuses, messages, and what a failure leaves.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <filesystem>
#include <set>
#include <thread>

#include "core/parameter_ids.h"
#include "state/json_document.h"
#include "tests/apps/program.h"

namespace {

class Command : public ProgramTest {
 protected:
  void SetUp() override {
    writeAudio(file("in.wav"), makeSignal(5000, 2, 48000, 1));
    writeAudio(file("rate.wav"), makeSignal(500, 1, 44100, 1));
    writeAudio(file("three.wav"), makeSignal(500, 3, 48000, 1));
    writeBytes(file("text.wav"), "this is no audio\n");
    const std::string whole = readBytes(file("in.wav"));
    writeBytes(file("cut.wav"), whole.substr(0, whole.size() / 2));
    writeBytes(file("bad.csv"), "0,kIpTrim,1\n1,kIpTrm,1\n");
    std::filesystem::create_directory(file("folder"));
    std::filesystem::create_symlink("/dev/full", file("full.wav"));
    std::filesystem::create_hard_link(file("in.wav"), file("hard.wav"));
    std::filesystem::create_symlink("in.wav", file("soft.wav"));
    writeBytes(file("out.wav"), "what stood there");
    writeAudio(file("low.wav"), makeSignal(500, 1, 16, 1));
    std::string unclosed = whole;
    unclosed.replace(unclosed.find("data") + 4, 4, 4, '\0');
    writeBytes(file("unclosed.wav"), unclosed);
    ASSERT_EQ(mkfifo(file("pipe").c_str(), 0600), 0);
    writeBytes(file("large.csv"), "");
    std::filesystem::resize_file(file("large.csv"), (64 << 20) + 1);
  }

  /// Begins a run of its own process, whose messages nobody sees.
  static pid_t start(std::vector<std::string> arguments) {
    std::vector<char*> words;
    arguments.insert(arguments.begin(), CORVANTHELIS_PROGRAM);
    words.reserve(arguments.size() + 1);
    for (std::string& argument : arguments) words.push_back(argument.data());
    words.push_back(nullptr);
    const pid_t child = ::fork();
    if (child != 0) return child;
    ::freopen("/dev/null", "w", stderr);
    ::execv(CORVANTHELIS_PROGRAM, words.data());
    ::_exit(99);
  }
};

TEST_F(Command, aFailureIsOneLineThatNamesFileAndReasonAndLeavesNothing) {
  const struct {
    const char* arguments;
    int status;
    const char* named;
    const char* reason;
  } cases[] = {
      {"render @none.wav @out.wav", 1, "none.wav", "no such file"},
      {"render @text.wav @out.wav", 1, "text.wav", "not an audio file"},
      {"render @folder @out.wav", 1, "folder", "directory"},
      {"render @low.wav @out.wav", 1, "low.wav", "16 Hz cannot be processed"},
      {"render @unclosed.wav @out.wav", 1, "unclosed.wav", "promises no audio"},
      {"render @in.wav @out.wav --sidechain ''", 2, "--sidechain", "empty"},
      {"render @in.wav @rate.wav --out-dir ''", 2, "--out-dir", "empty"},
      {"render @cut.wav @out.wav", 1, "cut.wav", "cut short"},
      {"render @three.wav @out.wav", 1, "three.wav", "3 channels"},
      {"render @in.wav @nowhere/out.wav", 1, "nowhere/out.wav", "No such file"},
      {"render @in.wav @text.wav/out.wav", 1, "text.wav/out.wav", "Not a directory"},
      {"render @in.wav @full.wav", 1, "full.wav", "No space left"},
      {"render @in.wav /dev/full", 1, "/dev/full", "No space left"},
      {"render @in.wav @folder", 1, "folder", "directory"},
      {"render @in.wav @out.wav --sidechain @rate.wav", 1, "rate.wav", "44100 Hz"},
      {"render @in.wav @out.wav --sidechain @three.wav", 1, "three.wav", "3 channels"},
      {"render @in.wav @out.wav --sidechain @cut.wav", 1, "cut.wav", "cut short"},
      {"render @in.wav @out.wav --sidechain @none.wav", 1, "none.wav", "no such file"},
      {"render @in.wav @out.wav --automation @bad.csv", 1, "bad.csv:2", "nearest are kIpTrim"},
      {"render @in.wav @out.wav --automation @folder", 1, "folder", "directory"},
      {"render @in.wav @out.wav --automation @none.csv", 1, "none.csv", "No such file"},
      {"render @in.wav @out.wav --automation @pipe", 1, "pipe", "cannot be read"},
      {"render @in.wav @out.wav --automation /dev/zero", 1, "/dev/zero", "cannot be read"},
      {"render @in.wav @out.wav --automation @large.csv", 1, "large.csv", "larger than 64 MiB"},
      {"render @in.wav @out.wav --sidechain @pipe", 1, "pipe", "not a regular file"},
      {"render @in.wav --out-dir @text.wav", 1, "text.wav", "cannot be made a directory"},
      {"render @in.wav @in.wav", 2, "in.wav", "would overwrite"},
      {"render @in.wav @hard.wav", 2, "hard.wav", "would overwrite"},
      {"render @soft.wav @in.wav", 2, "in.wav", "would overwrite"},
      {"render @in.wav @folder/../in.wav", 2, "in.wav", "would overwrite"},
      {"render @in.wav @rate.wav --sidechain @rate.wav", 2, "rate.wav", "would overwrite"},
      {"render @rate.wav @in.wav --out-dir @folder/..", 2, "rate.wav", "would overwrite"},
      {"render @in.wav @folder/../in.wav --out-dir @folder", 2, "in.wav", "both be written"},
      {"render @in.wav @x.flac --format f32", 2, "x.flac", "cannot hold f32"},
      {"render @in.wav @x.mp3", 2, "x.mp3", "ending"},
      {"render @in.wav @out.wav --set kB1Treshold=1", 2, "kB1Treshold", "kB1Threshold"},
      {"render @in.wav @out.wav --set kIpTrim=nan", 2, "kIpTrim", "finite"},
      {"render @in.wav @out.wav --setn kIpTrim=", 2, "kIpTrim", "finite"},
      {"render @in.wav @out.wav --set kIpTrim", 2, "kIpTrim", "ID=VALUE"},
      {"render @in.wav @out.wav --block 0", 2, "--block", "range"},
      {"render @in.wav @out.wav --block 1048577", 2, "--block", "range"},
      {"render @in.wav @out.wav --format f16", 2, "--format", "f16"},
      {"render @in.wav @out.wav --match-loudness --set kAutoGain=1", 2, "kAutoGain", "kOpTrim"},
      {"render @in.wav", 2, "", "OUT"},
      {"render @in.wav @a.wav @b.wav", 2, "", "--out-dir"},
      {"render", 2, "FILES", "required"},
      {"", 2, "", "command is missing"},
      {"rendr", 2, "rendr", "not expected"},
      {"format kIpTrim nan", 2, "nan", "finite"},
      {"format kIpTrm 0", 2, "kIpTrm", "kIpTrim"},
      {"latency --rate nan", 2, "--rate", "Hz"},
      {"curve", 2, "--band", "required"},
      {"curve --band 0", 2, "--band", "range"},
      {"curve --band 9", 2, "--band", "range"},
      {"curve --band 1.5", 2, "--band", "range"},
      {"curve --band 1 --points 1", 2, "--points", "range"},
      {"curve --band 1 --points 16385", 2, "--points", "range"},
      {"curve --band 1 --rate nan", 2, "--rate", "Hz"},
      {"curve --band 1 --rate 999", 2, "--rate", "Hz"},
      {"curve --band 1 --rate 44100.5", 2, "--rate", "whole"},
      {"curve --band 1 --impulse", 2, "--impulse", "--measured"},
      {"curve --band 1 --impulse --measured --json", 2, "--impulse", "--json"},
      {"curve --band 1 --set kB1Slop=6", 2, "kB1Slop", "kB1Slope"},
      {"curve --band 1 --set kB1State=0", 1, "band 1 is off", "--set kB1State=1"},
      {"curve --band 3", 1, "band 3 is off", "--set kB3State=1"},
      {"curve --band 2 --set kB2State=1", 1, "band 2", "same frequency"},
      {"params >/dev/full", 1, "standard output", "cannot be written"},
  };
  const std::vector<std::string> before = directory.names();
  for (const auto& c : cases) {
    SCOPED_TRACE(c.arguments);
    const ProgramRun result = run(c.arguments);
    EXPECT_EQ(result.status, c.status);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(lineCount(result.err), 1) << result.err;
    EXPECT_TRUE(result.err.starts_with("corvanthelis: ")) << result.err;
    EXPECT_NE(result.err.find(c.named), std::string::npos) << result.err;
    EXPECT_NE(result.err.find(c.reason), std::string::npos) << result.err;
    EXPECT_EQ(directory.names(), before);
    EXPECT_EQ(readBytes(file("out.wav")), "what stood there");
  }
  EXPECT_TRUE(std::filesystem::is_empty(file("folder")));
}

TEST_F(Command, valuesOutOfRangeAreToldAndUsedAtTheirEnd) {
  const ProgramRun result =
      run("render @in.wav @out.wav --quiet --set kIpTrim=99 --setn kOpTrim=-1");
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(lineCount(result.err), 2) << result.err;
  EXPECT_NE(result.err.find("kIpTrim: 99 is out of range, 24 is used"), std::string::npos);
}

TEST_F(Command, stoppedInTheMiddleItLeavesNothing) {
  writeAudio(file("long.wav"), {48000, 1, std::vector<double>(4'000'000)},
             SF_FORMAT_WAV | SF_FORMAT_PCM_16);
  const std::vector<std::string> before = directory.names();
  for (const int signalNumber : {SIGINT, SIGTERM, SIGHUP}) {
    const pid_t child = start({"render", file("long.wav"), file("out.wav"), "--block", "1"});
    for (int wait = 0; wait < 1000 && directory.names() == before; ++wait) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_NE(directory.names(), before) << "it never began to write";
    ::kill(child, signalNumber);
    int status = 0;
    ::waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 1) << status;
    EXPECT_EQ(directory.names(), before);
    EXPECT_EQ(readBytes(file("out.wav")), "what stood there");
  }
}

TEST_F(Command, whateverWritesLeavesNoPartOfAFileWhenItIsStopped) {
  writeBytes(file("bank"), R"({"presets":[{"parameters":"default"}],"v101":true})");
  ASSERT_EQ(run("band save --default @band.cvb").status, 0);
  const std::vector<std::string> before = directory.names();
  const std::vector<std::vector<std::string>> commands = {
      {"state", "pack", file("bank"), file("out.wav")},
      {"band", "save", "--default", file("out.wav")},
      {"band", "load", file("bank"), "1", file("band.cvb"), file("out.wav")}};
  for (std::size_t i = 0; i < 24; ++i) {
    const pid_t child = start(commands[i % commands.size()]);
    // In the middle of the writing, if it is seen there.
    int status = 0;
    pid_t ended = 0;
    while (ended == 0 && directory.names() == before) ended = ::waitpid(child, &status, WNOHANG);
    if (ended == 0) {
      ::kill(child, std::array{SIGINT, SIGTERM, SIGHUP, SIGPIPE}[i % 4]);
      ::waitpid(child, &status, 0);
    }
    ASSERT_EQ(directory.names(), before) << "round " << i;
  }
}

TEST_F(Command, jsonTellsEveryWarningAndIsAlwaysText) {
  std::filesystem::copy_file(file("in.wav"), file("\xff.wav"));
  const ProgramRun result = run("render '@\xff.wav' @new.wav --json --set kIpTrim=1e300");
  const JsonTree report(jsonParse(result.out.c_str()));
  const JsonNode* const warnings = jsonGetObjectItem(report.get(), "warnings");
  ASSERT_EQ(jsonGetArraySize(warnings), 1);
  EXPECT_NE(std::string(jsonGetArrayItem(warnings, 0)->valueString).find("1e+300"),
            std::string::npos);
  EXPECT_STREQ(jsonGetObjectItem(report.get(), "input")->valueString, "@\xEF\xBF\xBD.wav");
}

TEST_F(Command, aBatchTakesWhatItCanReadAndFailsFileByFile) {
  std::filesystem::copy_file(file("in.wav"), file("other.voc"));
  const ProgramRun result = run("render @in.wav @other.voc @text.wav --out-dir @folder");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(lineCount(result.err), 1) << result.err;
  EXPECT_EQ(readBytes(file("folder/other.wav")), readBytes(file("folder/in.wav")));

  std::filesystem::create_symlink("in.wav", file("folder/twin.wav"));
  std::filesystem::copy_file(file("in.wav"), file("twin.wav"));
  EXPECT_EQ(run("render @in.wav @twin.wav --out-dir @folder").status, 2) << "one file twice";
  std::filesystem::remove(file("folder/in.wav"));
  EXPECT_EQ(run("render @in.wav @twin.wav --out-dir @folder").status, 2) << "though not there yet";
}

TEST_F(Command, aMessageIntoAPipeThatNobodyReadsDoesNotEndTheBatch) {
  // The first file takes longer than `true`, the second fails into the pipe that it left behind.
  run("render @in.wav @text.wav @rate.wav --out-dir @folder --jobs 1 --block 1 --quiet 2>@pipe & "
      "true <@pipe; wait");
  EXPECT_TRUE(std::filesystem::exists(file("folder/in.wav")));
  EXPECT_TRUE(std::filesystem::exists(file("folder/rate.wav")));
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(file("folder")), {}), 2);
}

TEST_F(Command, parametersAreListedForPeopleAndMachines) {
  EXPECT_EQ(lineCount(run("params").out), kNumParams + 1);
  const JsonTree list(jsonParse(run("params --json").out.c_str()));
  ASSERT_EQ(jsonGetArraySize(list.get()), kNumParams);
  std::set<std::string> identifiers;
  for (int i = 0; i < kNumParams; ++i) {
    const JsonNode* const entry = jsonGetArrayItem(list.get(), i);
    EXPECT_EQ(jsonGetArraySize(entry), 9);
    EXPECT_EQ(jsonGetObjectItem(entry, "number")->valueInt, i);
    identifiers.insert(jsonGetObjectItem(entry, "id")->valueString);
  }
  EXPECT_EQ(identifiers.size(), static_cast<std::size_t>(kNumParams));
  const JsonNode* const q = jsonGetArrayItem(list.get(), bandParameterId(6, kB1Q));
  EXPECT_STREQ(jsonGetObjectItem(q, "id")->valueString, "kB7Q");
  EXPECT_EQ(jsonGetObjectItem(q, "group")->valueInt, 7);
  EXPECT_NEAR(jsonGetObjectItem(q, "default")->valueDouble, 0.71, 1e-12);
}

TEST_F(Command, formatPrintsOneTextPerValue) {
  const struct {
    const char* arguments;
    const char* text;
  } cases[] = {
      {"format kIpTrim 0 0.5 1 -3 7 -0.5", "-24.0dB\n0.0dB\n24.0dB\n-24.0dB\n24.0dB\n-24.0dB\n"},
      {"format kB2LR 0 1", "M/S\nL/R\n"},
      {"format --set kB3LR=1 kB3Position 0", "LEFT\n"},
      {"format --setn kB3LR=0 kB3Position 0", "MID\n"},
  };
  for (const auto& c : cases) EXPECT_EQ(run(c.arguments).out, c.text) << c.arguments;
  EXPECT_NE(run("format --note kB1Frequency 0.5").out, run("format kB1Frequency 0.5").out);
}

TEST_F(Command, helpAndVersionSucceed) {
  for (const char* arguments :
       {"--help", "render --help", "params --help", "format --help", "latency --help"}) {
    const ProgramRun result = run(arguments);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_NE(result.out.find("Examples:"), std::string::npos) << arguments;
  }
  EXPECT_TRUE(run("--version").out.starts_with("corvanthelis "));
  const ProgramRun latency = run("latency --rate 96000");
  EXPECT_EQ(latency.status, 0);
  EXPECT_EQ(lineCount(latency.out), 1);
}

}  // namespace
