#include "apps/command/state_options.h"

#include <array>
#include <cstddef>

#include "apps/effect/effect_runner.h"
#include "apps/output/failure.h"
#include "apps/presets/preset_lookup.h"
#include "apps/state/state_document.h"
#include "apps/state/state_texts.h"

namespace {

void checkRole(const StateDocument& document, StateFile::Role role) {
  const bool isBandFile = document.kind == StateKind::kBand;
  if (role == StateFile::Role::kBand && !isBandFile) {
    throw Failure(document.name, "is no band file: \"params\" is missing");
  }
  if (role != StateFile::Role::kBand && isBandFile) {
    throw Failure(document.name, "holds a single band; load it with --band N=FILE");
  }
  const bool hasBanks = document.kind == StateKind::kFull || storedSets(document).size() > 1;
  if (role == StateFile::Role::kBank && !hasBanks) {
    throw Failure(document.name, "is a preset and no bank; load it with --preset");
  }
}

CLI::Option* addRepeatable(CLI::App& command, const char* name, const char* value,
                           const char* description) {
  return addOption(command, name, description, {.type = value, .isRepeatable = true});
}

}  // namespace

SettingOptions::SettingOptions(CLI::App& command)
    : app(command),
      plain(
          addRepeatable(command, "--set", "ID=VALUE",
                        "Set a parameter to a value (see params), as in kB1Ratio=4:1; repeatable")),
      normalised(addRepeatable(command, "--setn", "ID=NORMALISED",
                               "Set a parameter by its position, 0 to 1; repeatable")) {}

std::vector<Setting> SettingOptions::parse(Plug& plug, std::vector<std::string>& warnings) const {
  const UpdateHold hold(plug.updates());
  std::vector<Setting> settings;
  std::size_t nextPlain = 0;
  std::size_t nextNormalised = 0;
  // The list contains an option once for each time it was given.
  for (const CLI::Option* const option : optionsInOrder(app)) {
    if (option == plain) {
      settings.push_back(parseSetting(valuesOf(plain).at(nextPlain++), false, plug, warnings));
    } else if (option == normalised) {
      settings.push_back(
          parseSetting(valuesOf(normalised).at(nextNormalised++), true, plug, warnings));
    } else {
      continue;
    }
    applySettings(plug, std::array{settings.back()});
  }
  return settings;
}

StateOptions::StateOptions(CLI::App& command, bool isBandFree) : settings(command) {
  CLI::Option* const stateOption =
      addOption(command, "--state", state, "Load a state as hosts store it, packed or plain",
                {.type = "FILE"});
  CLI::Option* const bankOption =
      addOption(command, "--bank", bank, "Load a bank file", {.type = "FILE"});
  exclude(bankOption, stateOption);
  CLI::Option* const presetOption = addOption(
      command, "--preset", preset,
      "Load a preset: a file, or a name of presets list, as in De-esser", {.type = "FILE"});
  CLI::Option* const bandOption = addOption(
      command, isBandFree ? "--band,--band-file" : "--band-file", bands,
      "Load a band file into band N, 1 to 8; repeatable", {.type = "N=FILE", .isRepeatable = true});
  options = {stateOption, bankOption, presetOption, bandOption};
}

EffectState StateOptions::read(std::vector<std::string>& warnings) const {
  refuseEmptyNames(options);
  EffectState result;
  if (!state.empty()) addFile(state, StateFile::Role::kState, 0, result, warnings);
  if (!bank.empty()) addFile(bank, StateFile::Role::kBank, 0, result, warnings);
  if (!preset.empty()) {
    addFile(presetFile(preset), StateFile::Role::kPreset, 0, result, warnings);
  }
  for (const std::string& text : bands) addBand(text, result, warnings);
  if (settings.isGiven()) {
    HostedPlug plug(false);
    applyState(plug, result);
    result.settings = settings.parse(plug, warnings);
  }
  return result;
}

void StateOptions::addBand(const std::string& text, EffectState& result,
                           std::vector<std::string>& warnings) const {
  const bool isNamed =
      text.size() > 2 && text[0] >= '1' && text[0] < '1' + kNumBands && text[1] == '=';
  if (!isNamed) {
    throw WrongArguments("--band: '" + text + "' should read N=FILE with N from 1 to " +
                         std::to_string(kNumBands));
  }
  addFile(text.substr(2), StateFile::Role::kBand, text[0] - '1', result, warnings);
}

void StateOptions::addFile(const std::string& path, StateFile::Role role, int band,
                           EffectState& result, std::vector<std::string>& warnings) const {
  StateDocument document = readDocument(path);
  checkRole(document, role);
  for (const std::string& fault : documentFaults(document)) {
    warnings.push_back(path + ": " + fault);
  }
  result.files.push_back({role, path, std::move(document.text), band});
}
