#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <new>
#include <string>

#include "apps/command/band_command.h"
#include "apps/command/command_line.h"
#include "apps/command/curve_command.h"
#include "apps/command/editor_command.h"
#include "apps/command/presets_command.h"
#include "apps/command/render_command.h"
#include "apps/command/state_command.h"
#include "apps/command/value_commands.h"
#include "apps/output/failure.h"
#include "apps/output/messages.h"
#include "platform/standard_streams.h"
#include "platform/stop_request.h"

namespace {

constexpr const char* kFooter =
    "Exit status: 0 done, 1 the work failed, 2 wrong arguments, 130 stopped by Ctrl-C.\n"
    "\n"
    "Examples:\n"
    "  corvanthelis render in.wav out.wav --set kB1Threshold=-30 --set kB1Ratio=4:1\n"
    "  corvanthelis render in.wav out.wav --preset 'Bus Glue'\n"
    "  corvanthelis params\n"
    "  corvanthelis render --help";

int runCommand(int argc, char** argv) {
  CommandLine line("Corvanthelis: an eight-band dynamics processor for audio files", "corvanthelis",
                   "corvanthelis " CORVANTHELIS_VERSION);
  CLI::App& program = line.program();
  setFooter(program, kFooter);
  RenderCommand render(program);
  ParamsCommand params(program);
  FormatCommand format(program);
  LatencyCommand latency(program);
  CurveCommand curve(program);
  const StateCommand state(program);
  const BandCommand band(program);
  const PresetsCommand presets(program);
  const PictureCommand screenshot(program, PictureCommand::Kind::kScreenshot);
  const PictureCommand views(program, PictureCommand::Kind::kViews);
  const GuiCommand gui(program);
  if (!line.parse(argc, argv)) return kDone;
  if (render.chosen()) return render.run();
  if (params.chosen()) return params.run();
  if (format.chosen()) return format.run();
  if (latency.chosen()) return latency.run();
  if (curve.chosen()) return curve.run();
  if (state.chosen()) return state.run();
  if (band.chosen()) return band.run();
  if (presets.chosen()) return presets.run();
  if (screenshot.chosen()) return screenshot.run();
  if (views.chosen()) return views.run();
  if (gui.chosen()) return gui.run();
  throw WrongArguments(
      "a command is missing: render, params, format, latency, curve, state, band, presets, "
      "screenshot, views or gui (see --help)");
}

int runAndReport(int argc, char** argv) {
  try {
    const int status = runCommand(argc, argv);
    if (!(std::cout << std::flush)) throw Failure("standard output", "cannot be written");
    return status;
  } catch (const WrongArguments& fault) {
    printError(fault.what());
    return kWrongArguments;
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception& fault) {
    printError(fault.what());
    return kFailed;
  }
}

/// What failed because it was to stop ends as if the signal had ended it.
int orStopped(int status) noexcept {
  return status == kFailed && stopRequested() ? stopStatus() : status;
}

/// Ends the program on an exception that nothing catches: before `main`, where the parser allocates
/// its tables, and in libraries that do not expect exceptions.
class OutOfMemoryEnd {
 public:
  OutOfMemoryEnd() noexcept { std::set_terminate(&end); }

 private:
  [[noreturn]] static void end() {
    try {
      if (std::current_exception() != nullptr) throw;
    } catch (const std::bad_alloc&) {
      // Streams and open files cannot be relied on here.
      std::fputs(kOutOfMemory, stderr);
      std::_Exit(kFailed);
    }
    std::abort();
  }
};
constexpr int kFirstOfAll = 101;
[[gnu::init_priority(kFirstOfAll)]] const OutOfMemoryEnd outOfMemoryEnd;

}  // namespace

int main(int argc, char** argv) {
  holdClosedStandardStreams();
  try {
    return orStopped(runAndReport(argc, argv));
  } catch (const std::bad_alloc&) {
    // May come from anywhere, even from building another message.
    printOutOfMemory();
    return kFailed;
  }
}
