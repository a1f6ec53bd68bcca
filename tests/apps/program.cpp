#include "tests/apps/program.h"

#include <stdlib.h>
#include <sys/wait.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <map>
#include <random>
#include <sstream>
#include <string_view>

namespace {

namespace fs = std::filesystem;

/// Whether `text` reads as `pattern`, in which a * stands for anything.
bool matches(std::string_view pattern, std::string_view text) {
  const std::size_t star = pattern.find('*');
  if (star == std::string_view::npos) return pattern == text;
  if (!text.starts_with(pattern.substr(0, star))) return false;
  text.remove_prefix(star);
  pattern.remove_prefix(star + 1);
  const std::size_t next = pattern.find('*');
  if (next == std::string_view::npos) return text.ends_with(pattern);
  const std::size_t found = text.find(pattern.substr(0, next));
  return found != std::string_view::npos && matches(pattern, text.substr(found));
}

std::string unescaped(const std::string& text) {
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char next = text[i] == '\\' && i + 1 < text.size() ? text[i + 1] : '\0';
    if (next == 'x') {
      result += static_cast<char>(std::stoi(text.substr(i + 2, 2), nullptr, 16));
      i += 3;
    } else if (next == 'n' || next == 't') {
      result += next == 'n' ? '\n' : '\t';
      ++i;
    } else {
      result += text[i];
    }
  }
  return result;
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

}  // namespace

void writeAudio(const std::string& path, const Audio& audio, int format) {
  SF_INFO info{};
  info.samplerate = audio.sampleRate;
  info.channels = audio.channels;
  info.format = format;
  SNDFILE* const file = sf_open(path.c_str(), SFM_WRITE, &info);
  ASSERT_NE(file, nullptr) << path << ": " << sf_strerror(nullptr);
  const auto count = static_cast<sf_count_t>(audio.samples.size());
  const int samples = format & SF_FORMAT_SUBMASK;
  if (samples == SF_FORMAT_FLOAT || samples == SF_FORMAT_DOUBLE) {
    EXPECT_EQ(sf_write_double(file, audio.samples.data(), count), count);
  } else {
    // The library scales doubles by a step less than full scale; whole numbers stay as they are.
    std::vector<int> steps;
    for (const double x : audio.samples) {
      steps.push_back(static_cast<int>(std::clamp(x * 0x1p31, -0x1p31, 0x1p31 - 1.0)));
    }
    EXPECT_EQ(sf_write_int(file, steps.data(), count), count);
  }
  sf_close(file);
}

Audio readAudio(const std::string& path) {
  SF_INFO info{};
  SNDFILE* const file = sf_open(path.c_str(), SFM_READ, &info);
  EXPECT_NE(file, nullptr) << path << ": " << sf_strerror(nullptr);
  if (file == nullptr) return {};
  Audio audio{info.samplerate, info.channels, {}};
  // Not by the header, which does not always know.
  std::vector<double> block(4096);
  while (const sf_count_t got = sf_read_double(file, block.data(), 4096)) {
    audio.samples.insert(audio.samples.end(), block.begin(), block.begin() + got);
  }
  sf_close(file);
  return audio;
}

Audio makeSignal(int frames, int channels, int sampleRate, unsigned seed) {
  std::mt19937 random(seed);
  Audio audio{sampleRate, channels, {}};
  for (int i = 0; i < frames; ++i) {
    for (int c = 0; c < channels; ++c) {
      const double noise = static_cast<double>(random()) / 4294967296.0 - 0.5;
      audio.samples.push_back(0.3 * std::sin(0.05 * (c + 1) * i) + 0.3 * noise);
    }
  }
  return audio;
}

int lineCount(const std::string& text) {
  return static_cast<int>(std::count(text.begin(), text.end(), '\n'));
}

void replaceAll(std::string& text, const std::string& what, const std::string& with) {
  for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += with.size()) {
    text.replace(at, what.size(), with);
  }
}

ProgramTest::ProgramTest() {
  for (const char* const name : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_DATA_DIRS"}) {
    ::setenv(name, file("home").c_str(), 1);
  }
  ::unsetenv("CORVANTHELIS_PATH");
}

ProgramRun ProgramTest::run(std::string arguments) const {
  const TestDirectory answers;
  const std::string out = answers.path("out");
  const std::string err = answers.path("err");
  replaceAll(arguments, "@", file(""));
  const std::string redirections = ">'" + out + "' 2>'" + err + "' </dev/null ";
  const int status = std::system((redirections + "'" + program + "' " + arguments).c_str());
  ProgramRun result{WIFEXITED(status) ? WEXITSTATUS(status) : -1, readBytes(out), readBytes(err)};
  for (std::string* const text : {&result.out, &result.err}) replaceAll(*text, file(""), "@");
  return result;
}

std::string ProgramTest::answer(const std::string& arguments) const {
  ProgramRun result = run(arguments);
  EXPECT_EQ(result.status, 0) << arguments;
  EXPECT_EQ(result.err, "") << arguments;
  return std::move(result.out);
}

void ProgramTest::check(const Step& step) const {
  if (step.arguments.empty()) return;
  const auto before = contentsOf(file(""));
  const ProgramRun result = run(step.arguments);
  EXPECT_EQ(result.status, step.status) << step.arguments;
  EXPECT_TRUE(matches(step.out, result.out)) << step.arguments << "\nanswers\n" << result.out;
  EXPECT_TRUE(matches(step.err, result.err)) << step.arguments << "\ntells\n" << result.err;
  if (step.status == 0) return;
  EXPECT_EQ(lineCount(result.err), 1) << result.err;
  EXPECT_TRUE(contentsOf(file("")) == before) << step.arguments << " changed a file";
}

void ProgramTest::take(const std::string& mark, const std::string& text, Step& step) const {
  const std::string first = text.substr(0, text.find(' '));
  const std::string second = text.substr(std::min(first.size() + 1, text.size()));
  if (mark == ">") {
    step.out += text + "\n";
  } else if (mark == "!") {
    step.err += "corvanthelis: warning: " + text + "\n";
  } else if (mark == "1!" || mark == "2!") {
    step.status = mark.front() - '0';
    step.err = "corvanthelis: " + text + "\n";
  } else {
    check(std::exchange(step, {}));
    if (mark == "$") step.arguments = text;
    if (mark == "+") writeBytes(file(first), second);
    if (mark == "=" || mark == "/") {
      const bool isSame = readBytes(file(first)) == readBytes(file(second));
      EXPECT_EQ(isSame, mark == "=") << text;
    }
  }
}

void ProgramTest::follow(const std::string& name) const {
  std::istringstream lines(readBytes(CORVANTHELIS_TEST_DATA "/" + name));
  Step step;
  int count = 0;
  for (std::string line; std::getline(lines, line); ++count) {
    if (line.empty() || line.starts_with("#")) continue;
    const std::size_t blank = std::min(line.find(' '), line.size());
    take(line.substr(0, blank), unescaped(line.substr(std::min(blank + 1, line.size()))), step);
  }
  check(step);
  EXPECT_GT(count, 10) << name;
}
