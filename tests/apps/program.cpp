#include "tests/apps/program.h"

#include <stdlib.h>
#include <sys/wait.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <map>
#include <memory>
#include <random>
#include <sstream>
#include <string_view>

#include "apps/text.h"

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

void replaceAll(std::string& text, const std::string& what, const std::string& with) {
  for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += with.size()) {
    text.replace(at, what.size(), with);
  }
}

/// Format, rate, channels and samples of an audio file; nothing of any other.
std::vector<double> audioNumbers(const std::string& path) {
  SF_INFO info{};
  const std::unique_ptr<SNDFILE, int (*)(SNDFILE*)> file(sf_open(path.c_str(), SFM_READ, &info),
                                                         &sf_close);
  if (file == nullptr) return {};
  std::vector<double> numbers = {double(info.format), double(info.samplerate),
                                 double(info.channels)};
  // Not by the header, which does not always know.
  std::vector<double> block(4096);
  while (const sf_count_t got = sf_read_double(file.get(), block.data(), 4096)) {
    numbers.insert(numbers.end(), block.begin(), block.begin() + got);
  }
  return numbers;
}

/// What is too low to be sure of all its digits counts as silence, as does what is no number.
std::vector<double> textNumbers(std::string text) {
  constexpr double kSilence = -100.0;
  for (const char mark : {',', ':', '[', ']', '{', '}'}) std::ranges::replace(text, mark, ' ');
  std::istringstream words(text);
  std::vector<double> numbers;
  std::string last;
  for (std::string word; words >> word; last = word) {
    const auto number = finiteNumber(word);
    if (last == "\"speed\"") continue;
    if (number) numbers.push_back(std::max(*number, kSilence));
    if (word == "null" || word == "-inf") numbers.push_back(kSilence);
  }
  return numbers;
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

Audio makeSignal(int frames, int channels, int sampleRate, unsigned seed) {
  std::mt19937 random(seed);
  Audio audio{sampleRate, channels, {}};
  for (int i = 0; i < frames * channels; ++i) {
    const int frame = i / channels;
    const double noise = static_cast<double>(random()) / 4294967296.0 - 0.5;
    const double tone = std::sin(0.05 * (i % channels + 1) * frame);
    audio.samples.push_back(seed == 0 ? std::sin(6264.335 * frame / sampleRate)
                                      : 0.3 * tone + 0.3 * noise);
  }
  return audio;
}

namespace {

/// What stands in `words` behind a name and a mark of `follow` for audio.
Audio readAudio(std::istringstream& words, bool isMade) {
  Audio audio;
  words >> audio.sampleRate >> audio.channels;
  int frames = 0;
  unsigned seed = 0;
  if (isMade) words >> frames >> seed;
  if (isMade) audio = makeSignal(frames, audio.channels, audio.sampleRate, seed);
  std::size_t channel = 0;
  for (std::string number; words >> number; ++channel) {
    if (!isMade) audio.samples.push_back(std::stod(number));
    const std::size_t end = isMade ? audio.samples.size() : 0;
    for (std::size_t i = channel; i < end; i += static_cast<std::size_t>(audio.channels)) {
      audio.samples[i] *= std::stod(number);
    }
  }
  return audio;
}

}  // namespace

ProgramTest::ProgramTest() : program(CORVANTHELIS_PROGRAM) {
  for (const char* const name : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_DATA_DIRS"}) {
    ::setenv(name, file("home").c_str(), 1);
  }
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
  const bool fails = step.status != 0;
  const auto before = fails ? contentsOf(file("")) : std::map<std::string, std::string>();
  const ProgramRun result = run(step.arguments);
  EXPECT_EQ(result.status, step.status) << step.arguments;
  EXPECT_TRUE(matches(step.out, result.out)) << step.arguments << "\nanswers\n" << result.out;
  EXPECT_TRUE(matches(step.err, result.err)) << step.arguments << "\ntells\n" << result.err;
  if (!fails) return;
  EXPECT_EQ(std::ranges::count(result.err, '\n'), 1) << result.err;
  EXPECT_TRUE(contentsOf(file("")) == before) << step.arguments << " changed a file";
}

std::string ProgramTest::numbersOf(const std::string& name) const {
  std::vector<double> numbers = audioNumbers(file(name));
  if (numbers.empty()) numbers = textNumbers(readBytes(file(name)));
  if (numbers.size() > 64) {
    std::vector<double> few(numbers.begin(), numbers.begin() + 3);
    few.push_back(double(numbers.size()));
    for (const double k : {1.0, 2.0, 3.0, 4.0}) {
      double sum = 0.0;
      for (std::size_t i = 3; i < numbers.size(); ++i) {
        sum += numbers[i] * std::cos(0.7 * k * k * double(i) + k);
      }
      few.push_back(sum);
    }
    numbers = few;
  }
  std::ostringstream text;
  text.precision(10);
  for (const double number : numbers) text << ' ' << number + 0.0;
  return text.str();
}

void ProgramTest::expectNumbers(const std::string& text) const {
  const std::string name = text.substr(0, text.find(' '));
  const std::string numbers = numbersOf(name);
  std::istringstream found(numbers);
  std::istringstream wanted(text.substr(name.size()));
  std::string word;
  for (std::string number; found >> number;) {
    const double value = wanted >> word ? std::stod(word) : std::nan("");
    // The 32-bit samples of another compiler may differ in their last bit.
    EXPECT_NEAR(std::stod(number), value, 1e-6 * (1.0 + std::abs(value))) << name << numbers;
  }
  EXPECT_FALSE(wanted >> word) << name << numbers;
}

void ProgramTest::act(char mark, const std::string& text) const {
  std::istringstream words(text);
  std::string first;
  std::string second;
  words >> first;
  const std::string path = file(first);
  if (mark == '+') {
    writeBytes(path, text.substr(std::min(first.size() + 1, text.size())));
  } else if (mark == '&' || mark == '.') {
    writeAudio(path, readAudio(words, mark == '&'));
  } else if (mark == '%') {
    EXPECT_EQ(std::system(withPaths(text).c_str()), 0) << text;
  } else if (mark == '~') {
    expectNumbers(text);
  } else if (mark == '-') {
    std::size_t missing = 0;
    words >> second >> missing;
    const std::string whole = readBytes(file(second));
    writeBytes(path, whole.substr(0, whole.size() - missing));
  } else {
    words >> second;
    EXPECT_EQ(readBytes(path) == readBytes(file(second)), mark == '=') << text;
  }
}

void ProgramTest::take(char mark, const std::string& text, Step& step) const {
  if (mark == '>') {
    step.out += text + "\n";
  } else if (mark == '!') {
    step.err += "corvanthelis: warning: " + text + "\n";
  } else if (mark == '1' || mark == '2') {
    step.status = mark - '0';
    step.err = "corvanthelis: " + text + "\n";
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
  int count = 0;
  for (std::string line; std::getline(lines, line); ++count) {
    const std::size_t blank = std::min(line.find(' '), line.size());
    const std::string text = unescaped(line.substr(std::min(blank + 1, line.size())));
    if (!line.empty() && line.front() != '#') take(line.front(), text, step);
    const std::string named = text.substr(0, text.find(' '));
    recorded += records && line.starts_with('~') ? "~ " + named + numbersOf(named) : line;
    recorded += '\n';
  }
  check(step);
  EXPECT_GT(count, 10) << name;
  if (records) writeBytes(path, recorded);
}
