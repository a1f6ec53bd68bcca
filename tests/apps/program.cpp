#include "tests/apps/program.h"

#include <fnmatch.h>
#include <sndfile.h>
#include <stdlib.h>
#include <sys/wait.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <map>
#include <memory>
#include <random>
#include <sstream>
#include <utility>
#include <vector>

#include "apps/output/text.h"
#include "tests/support/data_rows.h"
#include "tests/support/known_numbers.h"

namespace {

namespace fs = std::filesystem;

using AudioFile = std::unique_ptr<SNDFILE, int (*)(SNDFILE*)>;
using Numbers = std::vector<double>;

void replaceAll(std::string& text, const std::string& what, const std::string& with) {
  for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += with.size()) {
    text.replace(at, what.size(), with);
  }
}

/// Whether `text` reads as `pattern`, in which a * stands for anything.
bool matches(std::string pattern, const std::string& text) {
  for (const std::string mark : {"\\", "[", "?"}) replaceAll(pattern, mark, "\\" + mark);
  return fnmatch(pattern.c_str(), text.c_str(), 0) == 0;
}

/// The bytes of all files in a folder and below it, by name; of what is no file the name alone.
std::map<std::string, std::string> contentsOf(const std::string& folder) {
  std::map<std::string, std::string> contents;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
    const bool isSmall = entry.is_regular_file() && entry.file_size() < 1'000'000;
    contents[entry.path()] = isSmall ? readBytes(entry.path()) : "";
  }
  return contents;
}

Numbers makeSignal(int frames, const SF_INFO& info, unsigned seed, Numbers levels) {
  levels.resize(static_cast<std::size_t>(info.channels), 1.0);
  std::mt19937 random(seed);
  Numbers samples;
  samples.reserve(static_cast<std::size_t>(frames) * static_cast<std::size_t>(info.channels));
  for (int i = 0; i < frames * info.channels; ++i) {
    const int frame = i / info.channels;
    const int channel = i % info.channels;
    const double noise = static_cast<double>(random()) / 4294967296.0 - 0.5;
    const double tone = std::sin(0.05 * (channel + 1) * frame);
    samples.push_back(
        levels[static_cast<std::size_t>(channel)] *
        (seed == 0 ? std::sin(6264.335 * frame / info.samplerate) : 0.3 * tone + 0.3 * noise));
  }
  return samples;
}

/// Writes what stands in `words` behind a name.
void writeAudio(const std::string& path, std::istringstream words, bool isMade) {
  SF_INFO info{};
  info.format = SF_FORMAT_WAV | SF_FORMAT_DOUBLE;
  int frames = 0;
  unsigned seed = 0;
  words >> info.samplerate >> info.channels;
  if (isMade) words >> frames >> seed;
  Numbers samples;
  for (std::string word; words >> word;) samples.push_back(std::stod(word));
  if (isMade) samples = makeSignal(frames, info, seed, samples);
  const AudioFile file(sf_open(path.c_str(), SFM_WRITE, &info), &sf_close);
  ASSERT_NE(file, nullptr) << path << ": " << sf_strerror(nullptr);
  const auto count = static_cast<sf_count_t>(samples.size());
  EXPECT_EQ(sf_write_double(file.get(), samples.data(), count), count);
}

/// Format, rate, channels and samples of an audio file; nothing of any other.
Numbers audioNumbers(const std::string& path) {
  SF_INFO info{};
  const AudioFile file(sf_open(path.c_str(), SFM_READ, &info), &sf_close);
  if (file == nullptr) return {};
  Numbers numbers = {double(info.format), double(info.samplerate), double(info.channels)};
  // Not by the header, which does not always know.
  Numbers block(4096);
  while (const sf_count_t got = sf_read_double(file.get(), block.data(), 4096)) {
    numbers.insert(numbers.end(), block.begin(), block.begin() + got);
  }
  return numbers;
}

/// What is too low to be sure of all its digits counts as silence, as does what is no number.
Numbers textNumbers(std::string text) {
  constexpr double kSilence = -100.0;
  for (const char mark : {',', ':', '[', ']', '{', '}'}) std::ranges::replace(text, mark, ' ');
  std::istringstream words(text);
  Numbers numbers;
  std::string last;
  for (std::string word; words >> word; last = word) {
    const auto number = finiteNumber(word);
    if (last == "\"speed\"") continue;
    if (number) numbers.push_back(std::max(*number, kSilence));
    if (word == "null" || word == "-inf") numbers.push_back(kSilence);
  }
  return numbers;
}

/// What stands behind a ~ and the name.
Numbers numbersOf(const std::string& path) {
  Numbers numbers = audioNumbers(path);
  if (numbers.empty()) numbers = textNumbers(readBytes(path));
  if (numbers.size() <= 64) return numbers;
  Numbers few = {numbers[0], numbers[1], numbers[2], double(numbers.size())};
  for (const double k : {1.0, 2.0, 3.0, 4.0}) {
    double sum = 0.0;
    for (std::size_t i = 3; i < numbers.size(); ++i) {
      sum += numbers[i] * std::cos(0.7 * k * k * double(i) + k);
    }
    few.push_back(sum);
  }
  return few;
}

}  // namespace

ProgramTest::ProgramTest() : program(CORVANTHELIS_PROGRAM) {
  for (const char* const name : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_DATA_DIRS"}) {
    ::setenv(name, file("home").c_str(), 1);
  }
  ::setenv("PROGRAM", program.c_str(), 1);
  ::unsetenv("CORVANTHELIS_PATH");
}

std::string ProgramTest::withPaths(std::string text) const {
  replaceAll(text, "@", file(""));
  return text;
}

ProgramRun ProgramTest::run(const std::string& arguments) const {
  const TestDirectory answers;
  const std::string out = answers.path("out");
  const std::string err = answers.path("err");
  const std::string command = "{ '" + program + "' " + withPaths(arguments) + "\n} >'" + out +
                              "' 2>'" + err + "' </dev/null";
  const int status = std::system(command.c_str());
  ProgramRun result{WIFEXITED(status) ? WEXITSTATUS(status) : -1, readBytes(out), readBytes(err)};
  for (std::string* const text : {&result.out, &result.err}) replaceAll(*text, file(""), "@");
  return result;
}

void ProgramTest::check(const Step& step) const {
  if (step.arguments.empty()) return;
  SCOPED_TRACE(step.arguments);
  const ProgramRun& wanted = step.wanted;
  const bool fails = wanted.status != 0;
  const auto before = fails ? contentsOf(file("")) : std::map<std::string, std::string>();
  const ProgramRun result = run(step.arguments);
  EXPECT_EQ(result.status, wanted.status);
  EXPECT_TRUE(matches(wanted.out, result.out)) << "answers\n" << result.out;
  EXPECT_TRUE(matches(wanted.err, result.err)) << "tells\n" << result.err;
  if (!fails) return;
  EXPECT_EQ(std::ranges::count(result.err, '\n'), 1) << result.err;
  EXPECT_TRUE(contentsOf(file("")) == before) << "a file has changed";
}

void ProgramTest::act(char mark, const std::string& text) const {
  const std::string name = text.substr(0, text.find(' '));
  const std::string rest = text.substr(std::min(name.size() + 1, text.size()));
  if (mark == '+') {
    writeBytes(file(name), rest);
  } else if (mark == '&' || mark == '.') {
    writeAudio(file(name), std::istringstream(rest), mark == '&');
  } else if (mark == '~') {
    SCOPED_TRACE(name);
    // The 32-bit samples of another compiler may differ in their last bit.
    expectNumbers(rest, numbersOf(file(name)), 1e-6, 1e-6);
  } else {
    EXPECT_EQ(mark, '%');
    EXPECT_EQ(std::system(withPaths(text).c_str()), 0) << text;
  }
}

void ProgramTest::take(char mark, const std::string& text, Step& step) const {
  if (mark == '>') {
    step.wanted.out += text + "\n";
  } else if (mark == '!') {
    step.wanted.err += "corvanthelis: warning: " + text + "\n";
  } else if (mark == '1' || mark == '2') {
    step.wanted.status = mark - '0';
    step.wanted.err = "corvanthelis: " + text + "\n";
  } else {
    check(std::exchange(step, {}));
    if (mark == '$') step.arguments = text;
    if (mark != '$') act(mark, text);
  }
}

void ProgramTest::follow(const std::string& name) const {
  const std::string path = TEST_DATA "/" + name;
  std::istringstream lines(readBytes(path));
  const bool records = std::getenv("CORVANTHELIS_RECORD") != nullptr;
  std::string recorded;
  Step step;
  for (std::string line; std::getline(lines, line); recorded += line + '\n') {
    if (!isDataRow(line)) continue;
    const std::size_t blank = std::min(line.find(' '), line.size());
    const std::string text = data_rows::bytesOf(line.substr(std::min(blank + 1, line.size())));
    take(line.front(), text, step);
    const std::string named = text.substr(0, text.find(' '));
    if (records && line.front() == '~') line = "~ " + named + numbersText(numbersOf(file(named)));
  }
  check(step);
  EXPECT_FALSE(recorded.empty()) << path;
  if (records) writeBytes(path, recorded);
}
