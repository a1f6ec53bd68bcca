#include "apps/command/band_command.h"

#include <array>

#include "apps/effect/effect_runner.h"
#include "apps/effect/effect_state.h"
#include "apps/output/failure.h"
#include "apps/output/messages.h"
#include "apps/output/output_files.h"
#include "apps/presets/preset_lookup.h"
#include "apps/state/state_document.h"
#include "apps/state/state_texts.h"

namespace {

StateDocument readFor(const std::string& path, bool isBand) {
  StateDocument document = readDocument(path);
  if ((document.kind == StateKind::kBand) != isBand) {
    throw Failure(path, isBand ? "is no band file: \"params\" is missing"
                               : "holds a single band, and is no state or preset");
  }
  for (const std::string& fault : documentFaults(document)) printWarning(path + ": " + fault);
  return document;
}

bool isPresetForm(const StateDocument& document) {
  return document.kind != StateKind::kFull && storedSets(document).size() == 1;
}

void loadDocument(Plug& plug, const StateDocument& document) {
  const auto role = isPresetForm(document) ? StateFile::Role::kPreset : StateFile::Role::kState;
  loadStateFile(plug, {role, document.name, document.text, 0});
}

int parsedBand(const std::string& text) {
  if (text.size() == 1 && text[0] >= '1' && text[0] < '1' + kNumBands) return text[0] - '0';
  throw WrongArguments("band save: '" + text + "' is no band, 1 to " + std::to_string(kNumBands));
}

}  // namespace

BandCommand::BandCommand(CLI::App& program)
    : app(addCommand(program, "band", "Take bands out of states and presets, or put them in")),
      save(addSave()),
      load(addLoad()) {
  requireCommand(app);
  setFooter(app,
            "Examples:\n"
            "  corvanthelis band save my.CorvanthelisPreset 3 deesser.cvb\n"
            "  corvanthelis band load my.CorvanthelisPreset 5 deesser.cvb new.CorvanthelisPreset");
}

CLI::App& BandCommand::addSave() {
  CLI::App& command = addCommand(app, "save", "Write a band to a band file");
  addOption(command, "FILE N OUT", words,
            "State, preset or its name, or bank; band, 1 to 8; the band file",
            {.isRequired = true});
  addFlag(command, "--default", isDefault, "Write a new band's settings; OUT alone is given");
  setFooter(command,
            "Of a state the present program counts. OUT is replaced.\n"
            "\n"
            "Examples:\n"
            "  corvanthelis band save my.CorvanthelisPreset 3 deesser.cvb\n"
            "  corvanthelis band save De-esser 1 deesser.cvb\n"
            "  corvanthelis band save --default plain.cvb");
  return command;
}

CLI::App& BandCommand::addLoad() {
  CLI::App& command = addCommand(app, "load", "Put a band file into a state or preset");
  const auto add = [&command](const char* name, std::string& path, const char* description) {
    addOption(command, name, path, description, {.isRequired = true});
  };
  add("FILE", file, "State, preset or its name, or bank");
  addOption(command, "N", band, "The band, 1 to 8",
            {.isRequired = true, .range = {{1, kNumBands}}});
  add("BANDFILE", bandFile, "The band file");
  add("OUT", output, "FILE with the band in place, in the same form; replaced if it is there");
  setFooter(
      command,
      "The band stays where it is and on or off; only what a band file holds changes. Banks other\n"
      "than the present one stay as they are. OUT must be another file than FILE.\n"
      "\n"
      "Examples:\n"
      "  corvanthelis band load my.CorvanthelisPreset 5 deesser.cvb new.CorvanthelisPreset");
  return command;
}

int BandCommand::run() const {
  orElse("nothing was written", [this] {
    if (isChosen(save)) saveBand();
    if (isChosen(load)) loadBand();
  });
  return kDone;
}

void BandCommand::saveBand() const {
  constexpr std::size_t kAllWords = 3;
  if (words.size() != (isDefault ? 1 : kAllWords)) {
    throw WrongArguments(isDefault ? "band save --default needs OUT alone"
                                   : "band save needs FILE, N and OUT");
  }
  HostedPlug plug(false);
  int number = 1;
  if (!isDefault) {
    number = parsedBand(words[1]);
    const std::string input = presetFile(words.front());
    refuseOverwriting(std::array{RenderItem{input, words.back()}}, {});
    loadDocument(plug, readFor(input, false));
  }
  std::string text;
  plug.saveBand(text, number - 1);
  writeOutput(words.back(), stateBytes(text.c_str(), false));
}

void BandCommand::loadBand() const {
  const std::string input = presetFile(file);
  refuseOverwriting(std::array{RenderItem{input, output}}, {bandFile});
  const StateDocument document = readFor(input, false);
  StateDocument bandDocument = readFor(bandFile, true);
  HostedPlug plug(false);
  loadDocument(plug, document);
  loadStateFile(plug, {StateFile::Role::kBand, bandFile, std::move(bandDocument.text), band - 1});
  // Keeps the editor's part only if the file had one.
  const bool isPreset = isPresetForm(document);
  const bool hasEditor = jsonGetObjectItem(document.root.get(), documentKey::kSettings) != nullptr;
  plug.setLoadingFlags(hasEditor ? -1 : 0);
  writeOutput(output, stateBytes(storedText(plug, isPreset), document.isPacked));
}
