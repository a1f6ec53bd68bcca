#include "apps/editor/event_script.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <optional>
#include <span>
#include <tuple>
#include <utility>

#include "apps/effect/settings.h"
#include "apps/output/failure.h"
#include "editor/layout/tag_table.h"

namespace {

using Kind = ScriptEvent::Kind;
using Words = std::span<const std::string_view>;

constexpr double kFarthest = 100000.0;     // pixels
constexpr double kLongestWait = 600000.0;  // ms
constexpr std::string_view kBlanks = " \t\r";

/// Why a line cannot be played.
struct BadLine {
  std::string reason;
};

std::optional<double> numberOf(std::string_view word) {
  double number = 0.0;
  if (word.starts_with('+')) word.remove_prefix(1);
  const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
  if (error != std::errc() || end != word.data() + word.size() || !std::isfinite(number)) {
    return std::nullopt;
  }
  return number;
}

double requireNumber(std::string_view word, double farthest, const char* what) {
  const auto number = numberOf(word);
  if (!number) throw BadLine{"'" + std::string(word) + "' is no " + what};
  if (std::abs(*number) > farthest) throw BadLine{std::string(word) + " is out of range"};
  return *number;
}

/// The lengths after a tag, as in "kGUISetup+3-4".
std::pair<double, double> offsetOf(std::string_view text) {
  const std::size_t second = text.find_first_of("+-", 1);
  if (second == std::string_view::npos) throw BadLine{"a tag is followed by +DX+DY"};
  return {requireNumber(text.substr(0, second), kFarthest, "length"),
          requireNumber(text.substr(second), kFarthest, "length")};
}

std::int32_t requireTag(std::string_view word) {
  const std::int32_t tag = tagTable().find(word);
  if (tag < 0) throw BadLine{"there is no tag '" + std::string(word) + "'"};
  return tag;
}

/// Takes the place from the front of `words`.
EventPlace takePlace(Words& words) {
  if (words.empty()) throw BadLine{"a place is missing: X Y, or a tag"};
  EventPlace place;
  if (numberOf(words[0])) {
    if (words.size() < 2) throw BadLine{"a place has two numbers"};
    place.x = requireNumber(words[0], kFarthest, "length");
    place.y = requireNumber(words[1], kFarthest, "length");
    words = words.subspan(2);
    return place;
  }
  const std::size_t end = words[0].find_first_of("+-");
  place.tag = requireTag(words[0].substr(0, end));
  if (end != std::string_view::npos) std::tie(place.x, place.y) = offsetOf(words[0].substr(end));
  words = words.subspan(1);
  return place;
}

void takeModifier(std::string_view word, ScriptEvent& event) {
  constexpr std::array<std::pair<std::string_view, CButton>, 5> kModifiers = {
      {{"shift", kShift},
       {"control", kControl},
       {"alt", kAlt},
       {"apple", kApple},
       {"double", kDoubleClick}}};
  constexpr std::array<std::pair<std::string_view, CButton>, 3> kButtons = {
      {{"left", kLButton}, {"right", kRButton}, {"middle", kMButton}}};
  for (const auto& [name, bit] : kModifiers) {
    if (word == name) event.modifiers = event.modifiers.all() | bit;
    if (word == name) return;
  }
  for (const auto& [name, bit] : kButtons) {
    if (word == name && event.kind == Kind::kDown) {
      event.button = bit;
      return;
    }
  }
  throw BadLine{"unknown word '" + std::string(word) + "'"};
}

KeyEvent requireKey(std::string_view word) {
  constexpr std::array<std::pair<std::string_view, Key>, 18> kNames = {
      {{"Back", Key::kBack},
       {"Tab", Key::kTab},
       {"Return", Key::kReturn},
       {"Escape", Key::kEscape},
       {"Space", Key::kSpace},
       {"End", Key::kEnd},
       {"Home", Key::kHome},
       {"Left", Key::kLeft},
       {"Up", Key::kUp},
       {"Right", Key::kRight},
       {"Down", Key::kDown},
       {"PageUp", Key::kPageUp},
       {"PageDown", Key::kPageDown},
       {"Enter", Key::kEnter},
       {"Insert", Key::kInsert},
       {"Delete", Key::kDelete},
       {"Help", Key::kHelp},
       {"Menu", Key::kMenu}}};
  KeyEvent key;
  const auto* const named =
      std::ranges::find(kNames, word, &std::pair<std::string_view, Key>::first);
  if (named != kNames.end()) {
    key.key = named->second;
  } else if (word.size() == 1 && word[0] > ' ' && word[0] < 127) {
    key.character = static_cast<char32_t>(word[0]);
    key.text = word;
  } else {
    throw BadLine{"there is no key '" + std::string(word) + "'"};
  }
  return key;
}

constexpr std::array<std::pair<std::string_view, Kind>, 11> kKinds = {{{"move", Kind::kMove},
                                                                       {"down", Kind::kDown},
                                                                       {"drag", Kind::kDrag},
                                                                       {"up", Kind::kUp},
                                                                       {"wheel", Kind::kWheel},
                                                                       {"key", Kind::kKey},
                                                                       {"type", Kind::kType},
                                                                       {"wait", Kind::kWait},
                                                                       {"shot", Kind::kShot},
                                                                       {"views", Kind::kViews},
                                                                       {"set", Kind::kSet}}};

std::string_view firstOf(Words words, const char* missing) {
  if (words.empty()) throw BadLine{std::string(missing) + " is missing"};
  return words[0];
}

/// What follows the word that names the event; `rest` is the same as written.
void readArguments(ScriptEvent& event, Words words, std::string_view rest) {
  switch (event.kind) {
    case Kind::kMove:
    case Kind::kDown:
    case Kind::kDrag:
    case Kind::kUp:
      event.place = takePlace(words);
      break;
    case Kind::kWheel:
      event.place = takePlace(words);
      event.number =
          requireNumber(firstOf(words, "the number of steps"), 1000.0, "number of steps");
      words = words.subspan(1);
      break;
    case Kind::kKey:
      event.key = requireKey(firstOf(words, "the key"));
      words = words.subspan(1);
      break;
    case Kind::kWait:
      event.number = requireNumber(firstOf(words, "the time"), kLongestWait, "time");
      if (event.number < 0.0) throw BadLine{"a time is not negative"};
      words = words.subspan(1);
      break;
    case Kind::kType:
    case Kind::kShot:
    case Kind::kViews:
      if (rest.empty()) throw BadLine{"the text is missing"};
      event.text = rest;
      return;
    case Kind::kSet:
      event.parameter = parameterNumber(firstOf(words, "the parameter"));
      event.number = requireNumber(firstOf(words.subspan(1), "the value"), 1e9, "value");
      words = words.subspan(2);
      break;
  }
  for (const std::string_view word : words) takeModifier(word, event);
}

ScriptEvent parseLine(std::string_view line) {
  std::vector<std::string_view> words;
  std::string_view left = line;
  std::string_view rest;
  while (!left.empty()) {
    const std::size_t end = std::min(left.find_first_of(kBlanks), left.size());
    words.push_back(left.substr(0, end));
    left.remove_prefix(std::min(left.find_first_not_of(kBlanks, end), left.size()));
    if (words.size() == 1) rest = left;
  }
  const auto* const kind =
      std::ranges::find(kKinds, words[0], &std::pair<std::string_view, Kind>::first);
  if (kind == kKinds.end()) throw BadLine{"unknown event '" + std::string(words[0]) + "'"};
  ScriptEvent event;
  event.kind = kind->second;
  readArguments(event, Words(words).subspan(1), rest);
  return event;
}

}  // namespace

std::vector<ScriptEvent> parseEvents(std::string_view text, const std::string& name) {
  std::vector<ScriptEvent> events;
  for (int number = 1; !text.empty(); ++number) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    line.remove_prefix(std::min(line.find_first_not_of(kBlanks), line.size()));
    line.remove_suffix(line.size() - (line.find_last_not_of(kBlanks) + 1));
    if (line.empty() || line.starts_with('#')) continue;
    try {
      events.push_back(parseLine(line));
      events.back().line = number;
    } catch (const BadLine& bad) {
      throw Failure(name + ":" + std::to_string(number), bad.reason);
    } catch (const WrongArguments& bad) {
      throw Failure(name + ":" + std::to_string(number), bad.what());
    }
  }
  return events;
}
