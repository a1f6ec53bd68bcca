#include "apps/render/automation.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <istream>
#include <limits>
#include <sstream>
#include <string_view>
#include <system_error>
#include <utility>

#include "apps/effect/settings.h"
#include "apps/output/failure.h"
#include "apps/output/messages.h"
#include "apps/output/text.h"
#include "platform/index.h"
#include "platform/stop_request.h"
#include "platform/whole_file.h"

namespace {

using Fields = std::array<std::string_view, 3>;

Fields splitRow(std::string_view row) {
  if (std::count(row.begin(), row.end(), ',') != 2) {
    throw WrongArguments("a row should read seconds,ID,PLAIN");
  }
  const std::size_t first = row.find(',');
  const std::size_t second = row.find(',', first + 1);
  return {trimmed(row.substr(0, first)), trimmed(row.substr(first + 1, second - first - 1)),
          trimmed(row.substr(second + 1))};
}

bool isHeading(std::string_view row) { return lowered(row).starts_with("seconds,id,"); }

AutomationPoint parseRow(std::string_view row, std::vector<std::string>& warnings) {
  const Fields fields = splitRow(row);
  const auto seconds = finiteNumber(fields[0]);
  if (!seconds || *seconds < 0.0) {
    throw WrongArguments("'" + shownName(fields[0]) + "' is not a time in seconds");
  }
  const std::int32_t parameter = parameterNumber(fields[1]);
  const auto plain = finiteNumber(fields[2]);
  if (!plain) throw WrongArguments("'" + shownName(fields[2]) + "' is not a finite number");
  return {*seconds, parameter, plainInRange(parameter, *plain, warnings)};
}

/// `line` without a comment and the blanks around it.
std::string_view content(std::string_view line, bool isFirst) {
  if (isFirst && line.starts_with(kByteOrderMark)) line.remove_prefix(kByteOrderMark.size());
  return trimmed(line.substr(0, line.find('#')));
}

double frameOf(const AutomationPoint& point, double sampleRate) noexcept {
  // A time rounded to six decimal places must not fall just short of its frame.
  constexpr double kRounding = 1e-6;  // frames
  return std::floor(point.seconds * sampleRate + kRounding);
}

}  // namespace

std::int64_t Automation::countFrom(std::int64_t frame, double sampleRate) const noexcept {
  return std::count_if(points.begin(), points.end(), [=](const AutomationPoint& point) {
    return frameOf(point, sampleRate) >= static_cast<double>(frame);
  });
}

bool Automation::touches(std::int32_t parameter) const noexcept {
  return std::any_of(points.begin(), points.end(),
                     [parameter](const auto& point) { return point.parameter == parameter; });
}

Automation readAutomation(std::istream& text, const std::string& name) {
  Automation result;
  bool headingAllowed = true;
  std::string line;
  std::size_t untold = 0;
  for (int number = 1; std::getline(text, line); ++number) {
    if (stopRequested()) throw Failure(name, "interrupted");
    const std::string_view row = content(line, number == 1);
    if (row.empty()) continue;
    if (headingAllowed && isHeading(row)) {
      headingAllowed = false;
      continue;
    }
    headingAllowed = false;
    const std::string place = name + ":" + std::to_string(number);
    std::vector<std::string> told;
    try {
      result.points.push_back(parseRow(row, told));
    } catch (const WrongArguments& fault) {
      throw Failure(place, fault.what());
    }
    for (const std::string& warning : told) {
      if (result.warnings.size() == kMostTold) {
        ++untold;
      } else {
        result.warnings.push_back(place + ": " + warning);
      }
    }
  }
  if (text.bad()) throw Failure(name, "cannot be read");
  addCountOfMore(result.warnings, untold);
  std::stable_sort(result.points.begin(), result.points.end(),
                   [](const auto& a, const auto& b) { return a.seconds < b.seconds; });
  return result;
}

Automation readAutomationFile(const std::string& path) {
  constexpr std::size_t kMostBytes = std::size_t{64} << 20;
  std::string bytes;
  if (const std::error_code error = readWholeFile(path, bytes, kMostBytes)) {
    const bool isTooLarge = error == std::errc::file_too_large;
    throw Failure(
        path, isTooLarge ? "is larger than 64 MiB" : "cannot be read (" + error.message() + ")");
  }
  std::istringstream text(std::move(bytes));
  return readAutomation(text, path);
}

AutomationCursor::AutomationCursor(const Automation& automation, double sampleRate)
    : rate(sampleRate) {
  for (const AutomationPoint& point : automation.points) {
    lanes[at(placeOf(point.parameter))].points.push_back(&point);
  }
}

double AutomationCursor::dueFrame(const Lane& lane, std::int32_t delay) const {
  if (lane.next == lane.points.size()) return std::numeric_limits<double>::infinity();
  const double frame = frameOf(*lane.points[lane.next], rate);
  return frame == 0.0 ? 0.0 : frame + delay;
}

const AutomationPoint* AutomationCursor::next(std::int64_t position,
                                              const EffectRunner::Delays& delays) {
  Lane* first = nullptr;
  for (std::size_t place = 0; place < lanes.size(); ++place) {
    Lane& lane = lanes[place];
    if (dueFrame(lane, delays[place]) > static_cast<double>(position)) continue;
    // Points of one time come in the order of the file.
    if (first == nullptr || lane.points[lane.next] < first->points[first->next]) first = &lane;
  }
  return first == nullptr ? nullptr : first->points[first->next++];
}

int AutomationCursor::framesUntilNext(std::int64_t position, int frames,
                                      const EffectRunner::Delays& delays) const {
  double until = frames;
  for (std::size_t place = 0; place < lanes.size(); ++place) {
    until = std::min(until, dueFrame(lanes[place], delays[place]) - static_cast<double>(position));
  }
  return static_cast<int>(until);
}
