#include "apps/render/report.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "apps/output/json_output.h"
#include "apps/output/text.h"

namespace {

constexpr std::size_t kNumberWidth = 6;

std::string levelText(double level, const char* unit, const char* silence) {
  if (!std::isfinite(level)) return silence;
  return paddedLeft(fixedText(level, 1), kNumberWidth) + " " + unit;
}

std::string loudnessRows(const RenderReport& report) {
  const double before = report.before.integratedLufs;
  const double after = report.after.integratedLufs;
  std::string change;
  if (std::isfinite(before) && std::isfinite(after)) {
    change = " (" + signedText(after - before, 1) + " LU)";
  }
  return reportRow("loudness", levelText(before, "LUFS", "silent") + " before, " +
                                   levelText(after, "LUFS", "silent") + " after" + change) +
         reportRow("true peak", levelText(report.before.truePeakDb, "dBTP", "none") + " before, " +
                                    levelText(report.after.truePeakDb, "dBTP", "none") + " after");
}

std::string latencyText(const RenderReport& report) {
  std::string text = std::to_string(report.latency) + " samples";
  if (report.latency == 0) return text;
  text += " (" + fixedText(1000.0 * report.latency / report.sampleRate, 1) + " ms), ";
  return text + (report.latencyKept ? "kept" : "compensated");
}

std::string gainText(const GainRange& gain) {
  constexpr double kShown = 0.05;  // dB
  const std::string text = paddedLeft(fixedText(-gain.lowest, 1), kNumberWidth) + " dB";
  return gain.highest < kShown ? text : text + ", boost " + fixedText(gain.highest, 1) + " dB";
}

std::string gainRows(const RenderReport& report) {
  std::string rows;
  for (std::size_t band = 0; band < report.gains.size(); ++band) {
    if (!report.gains[band]) continue;
    rows += reportRow(rows.empty() ? "gain reduction" : "",
                      "band " + std::to_string(band + 1) + gainText(*report.gains[band]));
  }
  return rows.empty() ? reportRow("gain reduction", "no band is on") : rows;
}

std::string trimText(const RenderReport& report) {
  std::string text = signedText(report.trimAfter, 2) + " dB";
  if (report.trimAfter != report.trimBefore) {
    text += " (" + signedText(report.trimBefore, 2) + " dB at the start)";
  }
  return text;
}

JsonTree beforeAndAfter(double before, double after) {
  JsonTree pair(jsonCreateObject());
  addMember(pair, "before", before);
  addMember(pair, "after", after);
  return pair;
}

JsonTree gainsJson(const RenderReport& report) {
  JsonTree list(jsonCreateArray());
  for (std::size_t band = 0; band < report.gains.size(); ++band) {
    if (!report.gains[band]) continue;
    JsonTree entry(jsonCreateObject());
    addMember(entry, "band", static_cast<double>(band + 1));
    addMember(entry, "reductionDb", -report.gains[band]->lowest);
    addMember(entry, "boostDb", report.gains[band]->highest);
    jsonAddItemToArray(list.get(), entry.release());
  }
  return list;
}

JsonTree textsJson(const std::vector<std::string>& texts) {
  JsonTree list(jsonCreateArray());
  for (const std::string& text : texts) {
    jsonAddItemToArray(list.get(), jsonCreateString(validUtf8(text).c_str()));
  }
  return list;
}

}  // namespace

double RenderReport::seconds() const noexcept {
  return sampleRate > 0 ? static_cast<double>(frames) / sampleRate : 0.0;
}

double RenderReport::speed() const noexcept {
  // If the file was too short for the clock, it took at most one tick.
  return seconds() / std::max(elapsedSeconds, 0.001);
}

std::string reportText(const RenderReport& report) {
  std::string text = oneLine(report.output) + "\n";
  text += reportRow("rate", std::to_string(report.sampleRate) + " Hz");
  text += reportRow("channels", std::to_string(report.channels));
  text +=
      reportRow("length", durationText(report.seconds()) + " (" + std::to_string(report.frames) +
                              (report.frames == 1 ? " frame)" : " frames)"));
  for (const std::string& file : report.loaded) {
    text += reportRow(&file == &report.loaded.front() ? "set by" : "", oneLine(file));
  }
  text += reportRow("latency", latencyText(report));
  text += loudnessRows(report);
  text += gainRows(report);
  text += reportRow("output trim", trimText(report));
  if (report.passes > 1) text += reportRow("passes", std::to_string(report.passes));
  if (report.frames == 0) return text;
  text += reportRow("speed",
                    fixedText(report.speed(), report.speed() < 10.0 ? 1 : 0) + " times real time");
  return text;
}

std::string tableHeading(std::size_t nameWidth) {
  return padded("file", nameWidth) + paddedLeft("length", 14) + paddedLeft("LUFS before", 13) +
         paddedLeft("after", 8) + paddedLeft("dBTP before", 13) + paddedLeft("after", 8) +
         paddedLeft("reduction", 14);
}

std::string tableLine(const RenderReport& report, std::size_t nameWidth) {
  const auto level = [](double value, std::size_t width) {
    return paddedLeft(std::isfinite(value) ? fixedText(value, 1) : "-", width);
  };
  double lowest = 0.0;
  for (const auto& gain : report.gains) {
    if (gain) lowest = std::min(lowest, gain->lowest);
  }
  return padded(oneLine(report.output), nameWidth) +
         paddedLeft(durationText(report.seconds()), 14) + level(report.before.integratedLufs, 13) +
         level(report.after.integratedLufs, 8) + level(report.before.truePeakDb, 13) +
         level(report.after.truePeakDb, 8) + paddedLeft(fixedText(-lowest, 1) + " dB", 14);
}

JsonTree reportJson(const RenderReport& report) {
  JsonTree object(jsonCreateObject());
  addMember(object, "input", jsonCreateString(validUtf8(report.input).c_str()));
  addMember(object, "output", jsonCreateString(validUtf8(report.output).c_str()));
  addMember(object, "sampleRate", report.sampleRate);
  addMember(object, "channels", report.channels);
  addMember(object, "frames", static_cast<double>(report.frames));
  addMember(object, "seconds", report.seconds());
  addMember(object, "latencySamples", report.latency);
  addMember(object, "loudnessLufs",
            beforeAndAfter(report.before.integratedLufs, report.after.integratedLufs).release());
  addMember(object, "truePeakDbtp",
            beforeAndAfter(report.before.truePeakDb, report.after.truePeakDb).release());
  addMember(object, "gainReduction", gainsJson(report).release());
  addMember(object, "outputTrimDb", beforeAndAfter(report.trimBefore, report.trimAfter).release());
  addMember(object, "passes", report.passes);
  addMember(object, "speed", report.speed());
  addMember(object, "loaded", textsJson(report.loaded).release());
  addMember(object, "warnings", textsJson(report.warnings).release());
  return object;
}
