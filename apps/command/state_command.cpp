#include "apps/command/state_command.h"

#include <array>
#include <iostream>
#include <optional>

#include "apps/output/failure.h"
#include "apps/output/messages.h"
#include "apps/output/output_files.h"
#include "apps/presets/preset_lookup.h"
#include "apps/state/state_document.h"
#include "apps/state/state_report.h"
#include "apps/state/state_texts.h"

namespace {

void addFile(CLI::App& command, const char* name, std::string& path, const char* description) {
  addOption(command, name, path, description, {.isRequired = true});
}

std::optional<int> bankNumber(const std::string& letter) {
  if (letter.empty()) return std::nullopt;
  return letter.front() - 'A';
}

}  // namespace

StateCommand::StateCommand(CLI::App& program)
    : app(addCommand(program, "state", "Look into states, presets, banks and band files")),
      show(addShow()),
      pack(addPack()),
      check(addCheck()),
      diff(addDiff()) {
  requireCommand(app);
  setFooter(app,
            "Examples:\n"
            "  corvanthelis state show my.CorvanthelisPreset >my.json\n"
            "  corvanthelis state pack my.json my.CorvanthelisPreset\n"
            "  corvanthelis state check my.CorvanthelisBank\n"
            "  corvanthelis state diff before.CorvanthelisBank after.CorvanthelisBank --bank C");
}

CLI::App& StateCommand::addShow() {
  CLI::App& command = addCommand(app, "show", "Print a file's document as JSON");
  addFile(command, "FILE", first,
          "A state, preset, bank or band file, packed or plain; or a preset's name");
  addFlag(command, "--texts", asTexts, "Print values as they are shown, as in \"4.00:1\"");
  setFooter(
      command,
      "Values are positions from 0 to 1, of band files plain numbers. All commands that read\n"
      "documents also accept texts in their place, as for --set.\n"
      "\n"
      "Examples:\n"
      "  corvanthelis state show my.CorvanthelisPreset\n"
      "  corvanthelis state show De-esser --texts\n"
      "  corvanthelis state show my.CorvanthelisBank >my.json");
  return command;
}

CLI::App& StateCommand::addPack() {
  CLI::App& command = addCommand(app, "pack", "Make a file of a document's JSON");
  addFile(command, "IN", first, "The document as state show prints it");
  addFile(command, "OUT", second, "The file; what stands there is replaced");
  setFooter(
      command,
      "A band file stays plain text, as the effect reads no other. OUT must be another file than\n"
      "IN.\n"
      "\n"
      "Examples:\n"
      "  corvanthelis state pack my.json my.CorvanthelisPreset\n"
      "  corvanthelis state pack bank.json bank.CorvanthelisBank");
  return command;
}

CLI::App& StateCommand::addCheck() {
  CLI::App& command = addCommand(app, "check", "Tell what a file is and whether it is sound");
  addFile(command, "FILE", first,
          "A state, preset, bank or band file, packed or plain; or a preset's name");
  setFooter(
      command,
      "Exit status 0 for a document, with or without findings; 1 for what is none or damaged.\n"
      "\n"
      "Examples:\n"
      "  corvanthelis state check my.CorvanthelisBank");
  return command;
}

CLI::App& StateCommand::addDiff() {
  CLI::App& command = addCommand(app, "diff", "Print which parameters of two files differ");
  addFile(command, "A", first, "A state, preset or bank, or a preset's name; or a band file");
  addFile(command, "B", second, "What it is compared with");
  addOption(command, "--bank", bank, "Compare a bank, A to H, and not the program",
            {.type = "X", .choices = {"A", "B", "C", "D", "E", "F", "G", "H"}});
  setFooter(command,
            "Each line has the values of A and B in the parameter's own unit; - is not stored.\n"
            "\n"
            "Examples:\n"
            "  corvanthelis state diff soft.CorvanthelisPreset hard.CorvanthelisPreset\n"
            "  corvanthelis state diff old.CorvanthelisBank new.CorvanthelisBank --bank B\n"
            "  corvanthelis state diff ess.cvb deess.cvb");
  return command;
}

int StateCommand::run() const {
  if (isChosen(pack)) {
    orElse("nothing was written", [this] { writePacked(); });
    return kDone;
  }
  StateDocument document = readDocument(presetFile(first));
  if (isChosen(show)) {
    if (asTexts) showValueTexts(document);
    std::cout << printedText(document) << '\n';
  } else if (isChosen(check)) {
    std::cout << stateReport(document);
  } else if (isChosen(diff)) {
    std::cout << stateDifference(document, readDocument(presetFile(second)), bankNumber(bank));
  }
  return kDone;
}

void StateCommand::writePacked() const {
  const std::string input = presetFile(first);
  refuseOverwriting(std::array{RenderItem{input, second}}, {});
  const StateDocument document = readDocument(input);
  const std::string bytes = stateBytes(printedText(document), document.kind != StateKind::kBand);
  printWarnings(documentFaults(document));
  writeOutput(second, bytes);
}
