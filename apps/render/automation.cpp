#include "apps/render/automation.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
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
    throw WrongArguments("a row should read seconds,ID,VALUE");
  }
  const std::size_t first = row.find(',');
  const std::size_t second = row.find(',', first + 1);
  return {trimmed(row.substr(0, first)), trimmed(row.substr(first + 1, second - first - 1)),
          trimmed(row.substr(second + 1))};
}

bool isHeading(std::string_view row) { return lowered(row).starts_with("seconds,id,"); }

/// A row whose value is not read yet; what it means may depend on earlier ones.
struct Row {
  double seconds;
  std::int32_t parameter;
  int line;
  std::string_view value;
};

Row parseRow(std::string_view row, int line) {
  const Fields fields = splitRow(row);
  const auto seconds = finiteNumber(fields[0]);
  if (!seconds || *seconds < 0.0) {
    throw WrongArguments("'" + shownName(fields[0]) + "' is not a time in seconds");
  }
  return {*seconds, parameterNumber(fields[1]), line, fields[2]};
}

/// `line` without a comment and the blanks around it. The sharp of a note begins no comment.
std::string_view content(std::string_view line, bool isFirst) {
  if (isFirst && line.starts_with(kByteOrderMark)) line.remove_prefix(kByteOrderMark.size());
  std::size_t end = line.find('#');
  const auto isSharp = [line](std::size_t mark) {
    return mark > 0 && mark < line.size() &&
           std::string_view("acdfgACDFG").find(line[mark - 1]) != std::string_view::npos;
  };
  while (isSharp(end)) end = line.find('#', end + 1);
  return trimmed(line.substr(0, end));
}

std::string placeOf(const std::string& name, int line) { return name + ":" + std::to_string(line); }

/// The rows of a file, by time.
std::vector<Row> sortedRows(std::string_view text, const std::string& name) {
  std::vector<Row> rows;
  bool headingAllowed = true;
  for (int line = 1; !text.empty(); ++line) {
    if (stopRequested()) throw Failure(name, "interrupted");
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::string_view row = content(text.substr(0, end), line == 1);
    text.remove_prefix(std::min(end + 1, text.size()));
    if (row.empty()) continue;
    if (!std::exchange(headingAllowed, false) || !isHeading(row)) {
      try {
        rows.push_back(parseRow(row, line));
      } catch (const WrongArguments& fault) {
        throw Failure(placeOf(name, line), fault.what());
      }
    }
  }
  std::stable_sort(rows.begin(), rows.end(),
                   [](const Row& a, const Row& b) { return a.seconds < b.seconds; });
  return rows;
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

Automation readAutomation(std::string_view text, const std::string& name, Plug& plug) {
  Automation result;
  std::size_t untold = 0;
  const UpdateHold hold(plug.updates());
  for (const Row& row : sortedRows(text, name)) {
    if (stopRequested()) throw Failure(name, "interrupted");
    const std::string place = placeOf(name, row.line);
    std::vector<std::string> told;
    try {
      const ValueTextContext context = plug.textContext(row.parameter);
      const float plain = readPlain(row.parameter, row.value, context, told);
      result.points.push_back({row.seconds, row.parameter, plain});
      plug.setParameter(row.parameter, plug.plainToNormalised(row.parameter, plain));
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
  addCountOfMore(result.warnings, untold);
  return result;
}

Automation readAutomationFile(const std::string& path, Plug& plug) {
  constexpr std::size_t kMostBytes = std::size_t{64} << 20;
  std::string bytes;
  if (const std::error_code error = readWholeFile(path, bytes, kMostBytes)) {
    const bool isTooLarge = error == std::errc::file_too_large;
    throw Failure(
        path, isTooLarge ? "is larger than 64 MiB" : "cannot be read (" + error.message() + ")");
  }
  return readAutomation(bytes, path, plug);
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
