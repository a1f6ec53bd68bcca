#include "apps/command/editor_command.h"

#include <algorithm>
#include <chrono>
#include <clocale>
#include <iostream>
#include <memory>
#include <thread>

#include "apps/editor/event_script.h"
#include "apps/output/failure.h"
#include "apps/output/messages.h"
#include "apps/output/output_files.h"
#include "platform/clock.h"
#include "platform/stop_request.h"
#include "platform/whole_file.h"

namespace {

constexpr double kLeastZoom = 0.25;
constexpr double kGreatestZoom = 4.0;
constexpr std::size_t kLargestScript = 4U << 20U;  // bytes
constexpr auto kIdleTime = std::chrono::milliseconds(10);

const std::vector<std::string>& modeNames() {
  static const std::vector<std::string> names = {"plain", "sidechain", "advanced"};
  return names;
}

std::vector<ScriptEvent> readEvents(const std::string& path) {
  if (path.empty()) return {};
  std::string text;
  if (const std::error_code fault = readWholeFile(path, text, kLargestScript)) {
    throw Failure(path, fault.message());
  }
  return parseEvents(text, path);
}

void playAll(EditorSession& session, const std::vector<ScriptEvent>& events,
             const std::string& name) {
  for (const ScriptEvent& event : events) {
    try {
      session.play(event);
    } catch (const Failure& failure) {
      throw Failure(name + ":" + std::to_string(event.line), failure.what());
    }
  }
}

}  // namespace

PictureCommand::PictureCommand(CLI::App& program, Kind what)
    : kind(what),
      app(kind == Kind::kScreenshot
              ? addCommand(program, "screenshot", "Draw the editor to a PNG file")
              : addCommand(program, "views", "List what the editor shows, as JSON")),
      state(app, false) {
  const std::string name = kind == Kind::kScreenshot ? "screenshot out.png" : "views -";
  setFooter(app, ("Examples:\n"
                  "  corvanthelis " +
                  name +
                  "\n"
                  "  corvanthelis " +
                  name +
                  " --mode advanced --zoom 1.5 --preset De-esser\n"
                  "  corvanthelis " +
                  name + " --in song.wav --seconds 2 --events clicks.txt")
                     .c_str());
  addOption(app, "OUT", output,
            kind == Kind::kScreenshot ? "The picture; - for the standard output"
                                      : "The list; - for the standard output",
            {.type = "FILE", .isRequired = true});
  addOption(app, "--zoom", zoom, "Size of the surface", {.type = "Z", .showsDefault = true});
  addOption(app, "--scale", scale, "Device pixels per pixel of the screen",
            {.type = "S", .showsDefault = true});
  addOption(app, "--mode", mode, "Which panel is open",
            {.type = "MODE", .showsDefault = true, .choices = modeNames()});
  addOption(app, "--band", band, "The selected band", {.type = "N", .range = {{1, kNumBands}}});
  addOption(app, "--setup", setupPage, "Open this page of the setup window",
            {.type = "PAGE", .range = {{0, 3}}});
  addOption(app, "--in", input, "Audio that goes through the effect first", {.type = "FILE"});
  addOption(app, "--seconds", seconds, "How much of it", {.type = "T", .showsDefault = true});
  addOption(app, "--events", events, "What the user does first, one event a line",
            {.type = "FILE"});
  addFlag(app, "--plain", plain, "Draw without OpenGL");
}

EditorView PictureCommand::view() const {
  const auto inRange = [](double factor) {
    return factor >= kLeastZoom && factor <= kGreatestZoom;
  };
  if (!inRange(zoom)) throw WrongArguments("--zoom: from 0.25 to 4");
  if (scale < 1.0 || !inRange(scale)) throw WrongArguments("--scale: from 1 to 4");
  if (!(seconds >= 0.0)) throw WrongArguments("--seconds: not below 0");
  EditorView shown;
  shown.zoom = zoom;
  shown.deviceScale = scale;
  shown.mode = static_cast<int>(std::ranges::find(modeNames(), mode) - modeNames().begin());
  shown.band = band - 1;
  shown.setupPage = setupPage;
  shown.isPlain = plain;
  return shown;
}

AudioExcerpt PictureCommand::audio() const {
  return input.empty() ? AudioExcerpt{} : AudioExcerpt::read(input, seconds);
}

int PictureCommand::run() const {
  const EditorView shown = view();
  std::vector<std::string> warnings;
  EffectSetup setup;
  setup.state = state.read(warnings);
  printWarnings(warnings);
  const std::vector<ScriptEvent> script = readEvents(events);
  EditorSession session(setup, shown, audio());
  playAll(session, script, events);
  const std::string bytes = kind == Kind::kScreenshot ? session.picture() : session.views();
  if (output == "-") {
    std::cout << bytes;
  } else {
    writeOutput(output, bytes);
  }
  return kDone;
}

GuiCommand::GuiCommand(CLI::App& program)
    : app(addCommand(program, "gui", "Open the editor in a window")), state(app) {
  setFooter(app,
            "Examples:\n"
            "  corvanthelis gui\n"
            "  corvanthelis gui --preset De-esser");
}

int GuiCommand::run() const {
  std::vector<std::string> warnings;
  const EffectState wanted = state.read(warnings);
  printWarnings(warnings);
  PlugEd* editor = nullptr;
  HostedPlug plug(true, [&editor](Plug& effect) {
    auto made = std::make_unique<PlugEd>(effect);
    editor = made.get();
    return made;
  });
  applyState(plug, wanted);
  plug.resume();
  requireUpdate(plug);
  std::setlocale(LC_CTYPE, "");  // for the input method: no dead keys without it
  if (!editor->openTop("Corvanthelis")) throw Failure("the display", "cannot be opened");
  catchStopRequests();
  while (editor->isOpen() && !stopRequested()) {
    plug.onIdle();
    editor->idle();
    std::this_thread::sleep_for(kIdleTime);
  }
  return kDone;
}
