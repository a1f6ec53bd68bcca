#include "apps/command/render_command.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iostream>
#include <thread>

#include "apps/output/failure.h"
#include "apps/output/json_output.h"
#include "apps/output/messages.h"
#include "apps/output/progress_bar.h"
#include "apps/output/text.h"
#include "apps/render/render_job.h"
#include "apps/render/report.h"
#include "apps/state/state_document.h"
#include "platform/byte_stream.h"
#include "platform/clock.h"
#include "platform/paths.h"
#include "platform/stop_request.h"
#include "platform/terminal.h"

namespace {

constexpr int kLargestBlock = 1 << 20;  // frames
constexpr int kMostJobs = 256;

constexpr const char* kExamples =
    "Examples:\n"
    "  corvanthelis render in.wav out.wav --set kB1Threshold=-30 --set kB1Ratio=4:1\n"
    "  corvanthelis render in.wav out.flac --match-loudness\n"
    "  corvanthelis render music.wav ducked.wav --sidechain voice.wav --set kB1SCSrc=Ext "
    "--set kB1Threshold=-30 --set kB1Ratio=4:1\n"
    "  corvanthelis render in.wav out.wav --automation moves.csv --json\n"
    "  corvanthelis render *.wav --out-dir done --jobs 4\n"
    "  ffmpeg -i in.mp3 -f wav - | corvanthelis render - out.flac\n"
    "  corvanthelis render in.wav out.wav --preset 'Lead Vocal Leveller' --set kOpTrim=-1\n"
    "  corvanthelis render in.wav out.wav --set kB1Ratio=4:1 --save-preset my.CorvanthelisPreset\n"
    "  corvanthelis render in.wav out.wav --state session.json --band 3=deesser.cvb\n"
    "\n"
    "Files set the effect first: a state or bank, then a preset, then bands; then --set and "
    "--setn\n"
    "in the order given. Locks and links that a file holds are not in force.";

void printReports(const std::vector<RenderOutcome>& outcomes, double elapsedSeconds) {
  std::size_t nameWidth = 4;
  std::size_t done = 0;
  double seconds = 0.0;
  for (const RenderOutcome& outcome : outcomes) {
    if (outcome.report) nameWidth = std::max(nameWidth, outcome.report->output.size());
  }
  bool headingPrinted = false;
  for (const RenderOutcome& outcome : outcomes) {
    if (!outcome.report) continue;
    if (!headingPrinted) std::cout << tableHeading(nameWidth) << '\n';
    headingPrinted = true;
    std::cout << tableLine(*outcome.report, nameWidth) << '\n';
    ++done;
    seconds += outcome.report->seconds();
  }
  std::cout << done << " of " << outcomes.size() << (outcomes.size() == 1 ? " file" : " files")
            << " done, " << fixedText(seconds / std::max(elapsedSeconds, 0.001), 0)
            << " times real time\n";
}

void printReportsJson(const std::vector<RenderItem>& items,
                      const std::vector<RenderOutcome>& outcomes) {
  JsonTree list(jsonCreateArray());
  for (std::size_t i = 0; i < outcomes.size(); ++i) {
    if (outcomes[i].report) {
      jsonAddItemToArray(list.get(), reportJson(*outcomes[i].report).release());
      continue;
    }
    JsonTree failed(jsonCreateObject());
    addMember(failed, "input", jsonCreateString(validUtf8(items[i].input).c_str()));
    addMember(failed, "error", jsonCreateString(validUtf8(outcomes[i].failure).c_str()));
    jsonAddItemToArray(list.get(), failed.release());
  }
  printJson(list.get());
}

void printReportWarnings(const std::vector<RenderOutcome>& outcomes) {
  for (const RenderOutcome& outcome : outcomes) {
    if (!outcome.report) continue;
    for (const std::string& warning : outcome.report->warnings) {
      printWarning(outcome.report->input + ": " + warning);
    }
  }
}

/// Where a report goes that may not come between the samples.
std::ostream& reportStream(const std::vector<RenderItem>& items) {
  constexpr const char* kOutput = "/dev/stdout";
  const bool isTaken = std::any_of(items.begin(), items.end(), [](const RenderItem& item) {
    return item.output == "-" || (isStream(item.output) && isSameFile(item.output, kOutput));
  });
  return isTaken ? std::cerr : std::cout;
}

}  // namespace

RenderCommand::RenderCommand(CLI::App& program)
    : app(addCommand(program, "render", "Run the effect over audio files")), state(app) {
  setFooter(app, kExamples);
  addFileOptions();
  addEffectOptions();
  addReportOptions();
}

void RenderCommand::addFileOptions() {
  addOption(app, "FILES", files, "IN and OUT, whose ending names the container; - is a stream",
            {.isRequired = true});
  names.push_back(addOption(app, "--out-dir", outDirectory,
                            "Take all FILES as inputs, write them here under their names",
                            {.type = "DIR"}));
  addOption(app, "--jobs", jobs, "Files rendered at a time with --out-dir (all cores)",
            {.type = "N", .range = {{1, kMostJobs}}});
  addOption(app, "--format", format, "Samples of the output: f32, f64, s24 or s16 (f32; flac: s24)",
            {.type = "F", .choices = {"f32", "f64", "s24", "s16"}});
  addOption(app, "--container", container, "Of OUT if that is -: wav or w64 (wav)",
            {.type = "C", .choices = {"wav", "w64"}});
  exclude(addFlag(app, "--dither", dither, "Add noise before rounding to integers (for s16)"),
          addFlag(app, "--no-dither", noDither, "Only round to integers"));
}

void RenderCommand::addEffectOptions() {
  names.push_back(addOption(app, "--sidechain", sidechain,
                            "One or two channels for the sidechain inputs", {.type = "FILE"}));
  names.push_back(
      addOption(app, "--automation", automation, "CSV rows seconds,ID,VALUE", {.type = "FILE"}));
  names.push_back(addOption(app, "--save-preset", savedPreset,
                            "Write the settings of the start, and a matched kOpTrim, as a preset",
                            {.type = "FILE"}));
  addOption(app, "--block", block, "Frames per block",
            {.type = "N", .showsDefault = true, .range = {{1, kLargestBlock}}});
  addFlag(app, "--double", doubles, "Use the effect's 64-bit entry");
  addFlag(app, "--realtime", realtime, "Tell the effect that it plays live, not offline");
  addFlag(app, "--keep-latency", keepLatency, "Leave the effect's delay in the output");
  addFlag(app, "--match-loudness", matchLoudness,
          "Set kOpTrim so that the output is as loud as the input (EBU R 128)");
}

void RenderCommand::addReportOptions() {
  addFlag(app, "--json", json, "Print the report as JSON");
  addFlag(app, "--quiet", quiet, "Print no report and no progress");
}

RenderOptions RenderCommand::options(std::vector<std::string>& warnings) const {
  RenderOptions result;
  result.effect.state = orElse("nothing was rendered", [&] { return state.read(warnings); });
  result.effect.blockFrames = block;
  result.effect.doubles = doubles;
  result.effect.realtime = realtime;
  result.sidechain = sidechain;
  result.format.sample = sampleFormatNamed(format);
  result.format.container = container;
  if (dither || noDither) result.format.dither = dither;
  result.keepLatency = keepLatency;
  result.matchLoudness = matchLoudness;
  result.measure = json || !quiet;
  return result;
}

std::vector<RenderItem> RenderCommand::items() const {
  std::vector<RenderItem> result;
  if (isBatch()) {
    result = planDirectory(files, outDirectory);
  } else if (files.size() == 2) {
    result.push_back({files[0], files[1]});
  } else {
    throw WrongArguments(files.size() < 2 ? "render needs IN and OUT"
                                          : "more than one input needs --out-dir");
  }
  return result;
}

/// A stream is there once, and for one.
void RenderCommand::checkStreams() const {
  std::vector<std::string> streams = files;
  streams.push_back(sidechain);
  std::erase_if(streams, [](const std::string& name) { return !isStream(name); });
  if (streams.empty()) return;
  if (matchLoudness) {
    throw WrongArguments("--match-loudness renders more than once, a stream is there only once");
  }
  if (isBatch() && std::ranges::count(files, "-") > 0) {
    throw WrongArguments("--out-dir needs files with names, not -");
  }
  const bool readsInput = files.front() == "-" || sidechain == "-";
  if (files.front() == "-" && sidechain == "-") {
    throw WrongArguments("--sidechain: the standard input is IN already");
  }
  if (readsInput && inputStreamIsTerminal()) {
    throw WrongArguments("standard input is a terminal; send a WAV or W64 stream to it");
  }
  if (files.back() == "-" && outputStreamIsTerminal()) {
    throw WrongArguments("standard output is a terminal; send it to a program or a file");
  }
}

void RenderCommand::checkMatch(const Plug& plug, const RenderOptions& renderOptions) const {
  if (!matchLoudness) return;
  if (plug.getPlainValue(kAutoGain) != 0.0F || renderOptions.automation.touches(kAutoGain)) {
    throw WrongArguments("--match-loudness and kAutoGain both set kOpTrim; use one of them");
  }
  if (renderOptions.automation.touches(kOpTrim)) {
    throw WrongArguments("--match-loudness sets kOpTrim; the automation cannot");
  }
}

/// Warns of bands that hear silence, and of a sidechain that none hears.
void RenderCommand::checkSidechain(const Plug& plug, const RenderOptions& renderOptions,
                                   std::vector<std::string>& warnings) const {
  bool isHeard = false;
  for (int band = 0; band < kNumBands; ++band) {
    const int source = bandParameterId(band, kB1SCSrc);
    const int isOn = bandParameterId(band, kB1State);
    // What happens later in the file is not known here.
    if (renderOptions.automation.touches(source) || renderOptions.automation.touches(isOn)) return;
    if (plug.getPlainValue(isOn) == 0.0F) continue;
    if (plug.getPlainValue(source) != static_cast<float>(SidechainRoute::kExternal)) continue;
    isHeard = true;
    if (!sidechain.empty()) continue;
    warnings.push_back("band " + std::to_string(band + 1) +
                       " listens to the external sidechain, which is silent without --sidechain");
  }
  if (isHeard || sidechain.empty()) return;
  warnings.push_back(sidechain + ": no band listens to it; set the source of one, as in " +
                     "--set kB1SCSrc=Ext");
}

int RenderCommand::jobCount() const {
  if (jobs > 0) return jobs;
  return std::clamp(static_cast<int>(std::thread::hardware_concurrency()), 1, kMostJobs);
}

/// All that is written, with the preset as another output.
std::vector<RenderItem> RenderCommand::outputs(std::vector<RenderItem> items) const {
  if (savedPreset.empty()) return items;
  const std::string folder = parentFolder(savedPreset);
  if (isFolder(savedPreset)) throw Failure(savedPreset, "is a directory");
  if (!folder.empty() && !isFolder(folder)) throw Failure(folder, "is no directory");
  items.push_back({items.front().input, savedPreset});
  return items;
}

void RenderCommand::savePreset(EffectState settings, const RenderReport& report) const {
  if (matchLoudness && !isBatch()) {
    settings.settings.push_back({kOpTrim, false, static_cast<float>(report.trimAfter)});
  }
  HostedPlug plug(realtime);
  applyState(plug, settings);
  plug.setLoadingFlags(0);  // without the editor's part
  const std::string name = savedPreset.substr(savedPreset.rfind('/') + 1);
  plug.setProgramName(name.substr(0, name.size() - extensionOf(name).size()).c_str());
  writeOutput(savedPreset, stateBytes(storedText(plug, true), true));
}

RenderCommand::Plan RenderCommand::plan() const {
  refuseEmptyNames(names);
  if (std::find(files.begin(), files.end(), "") != files.end()) {
    throw WrongArguments("the name of a file is empty");
  }
  Plan result;
  result.options = options(result.warnings);
  result.items = items();
  for (const RenderItem& item : result.items) {
    if (isFolder(item.output)) {
      throw Failure(item.output, "is a directory; --out-dir writes into one");
    }
    static_cast<void>(audioFormatFor(item.output, result.options.format));
  }
  std::vector<std::string> alsoRead = {sidechain, automation};
  for (const StateFile& file : result.options.effect.state.files) alsoRead.push_back(file.name);
  refuseOverwriting(outputs(result.items), alsoRead);
  checkStreams();
  if (!automation.empty()) {
    HostedPlug plug(realtime);
    applyState(plug, result.options.effect.state);
    result.options.automation = readAutomationFile(automation, plug);
    const std::vector<std::string>& told = result.options.automation.warnings;
    result.warnings.insert(result.warnings.end(), told.begin(), told.end());
  }
  HostedPlug plug(realtime);
  applyState(plug, result.options.effect.state);
  checkMatch(plug, result.options);
  checkSidechain(plug, result.options, result.warnings);
  return result;
}

int RenderCommand::run() {
  catchStopRequests();
  const Plan work = plan();
  std::ostream& answer = reportStream(work.items);
  if (isBatch()) makeDirectory(outDirectory);
  tidyFolders(work.items);
  const std::int64_t start = monotonicMilliseconds();
  std::vector<RenderOutcome> outcomes;
  {
    const bool showsProgress = !quiet && !json && errorStreamIsTerminal();
    ProgressBar progress(showsProgress);
    for (const RenderItem& item : work.items) {
      if (showsProgress && !stopRequested())
        progress.addTotal(expectedFrames(item.input, work.options));
    }
    outcomes = renderAll(work.items, work.options, jobCount(), progress);
  }
  releaseStopRequests();
  const bool allDone = std::all_of(outcomes.begin(), outcomes.end(),
                                   [](const auto& outcome) { return outcome.report.has_value(); });
  // The failure of a single file has been reported already.
  if (allDone || isBatch()) {
    printWarnings(work.warnings);
    printReportWarnings(outcomes);
    // In JSON each report contains them all.
    for (RenderOutcome& outcome : outcomes) {
      if (!outcome.report) continue;
      std::vector<std::string>& told = outcome.report->warnings;
      told.insert(told.begin(), work.warnings.begin(), work.warnings.end());
    }
    print(answer, work, outcomes, static_cast<double>(monotonicMilliseconds() - start) * 0.001);
  }
  if (allDone && !savedPreset.empty()) {
    savePreset(work.options.effect.state, *outcomes.front().report);
  }
  return allDone ? kDone : kFailed;
}

void RenderCommand::print(std::ostream& answer, const Plan& work,
                          const std::vector<RenderOutcome>& outcomes, double elapsedSeconds) const {
  if (json && isBatch()) {
    printReportsJson(work.items, outcomes);
  } else if (json) {
    answer << jsonText(reportJson(*outcomes.front().report).get());
  } else if (!quiet && isBatch()) {
    printReports(outcomes, elapsedSeconds);
  } else if (!quiet) {
    answer << reportText(*outcomes.front().report);
  }
}
