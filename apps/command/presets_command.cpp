#include "apps/command/presets_command.h"

#include <array>
#include <cstddef>
#include <iostream>
#include <string>

#include "apps/output/failure.h"
#include "apps/output/json_output.h"
#include "apps/output/text.h"
#include "apps/presets/preset_lookup.h"
#include "state/machine.h"

namespace {

struct Place {
  const char* name;
  std::string path;  // empty for none
};

std::array<Place, 4> placesOf(const InstallFolders& folders) {
  return {{{"user", folders.presets()},
           {"bands", folders.bands()},
           {"factory", folders.factoryPresets()},
           {"store", settingsPath()}}};
}

JsonNode* textJson(const std::string& text) {
  return text.empty() ? jsonParse("null") : jsonCreateString(validUtf8(text).c_str());
}

void printPlaces(const InstallFolders& folders, bool isJson) {
  JsonTree object(jsonCreateObject());
  for (const Place& place : placesOf(folders)) {
    if (isJson) {
      addMember(object, place.name, textJson(place.path));
    } else {
      std::cout << place.name << ": " << (place.path.empty() ? "none" : oneLine(place.path))
                << '\n';
    }
  }
  if (isJson) printJson(object.get());
}

void printMenu(const PresetMenu& menu, std::size_t depth) {
  for (const PresetMenu::Entry& entry : menu.entries) {
    std::cout << std::string(2 * depth, ' ') << oneLine(entry.text) << (entry.submenu ? "/" : "")
              << '\n';
    if (entry.submenu) printMenu(*entry.submenu, depth + 1);
  }
}

JsonTree entriesJson(const PresetMenu& menu) {
  JsonTree list(jsonCreateArray());
  for (const PresetMenu::Entry& entry : menu.entries) {
    JsonTree item(jsonCreateObject());
    addMember(item, "name", jsonCreateString(validUtf8(entry.text).c_str()));
    if (entry.submenu) addMember(item, "entries", entriesJson(*entry.submenu).release());
    jsonAddItemToArray(list.get(), item.release());
  }
  return list;
}

void printTrees(const PresetTrees& trees, bool isJson) {
  JsonTree object(jsonCreateObject());
  for (const auto& [name, menu] : {std::pair{"User", &trees.user}, {"Factory", &trees.factory}}) {
    if (isJson) {
      addMember(object, name, entriesJson(*menu).release());
    } else {
      std::cout << name << "/\n";
      printMenu(*menu, 1);
    }
  }
  if (isJson) printJson(object.get());
}

}  // namespace

PresetsCommand::PresetsCommand(CLI::App& program)
    : app(addCommand(program, "presets", "List presets, or tell where they lie")),
      list(addList()),
      path(addPath()) {
  requireCommand(app);
  setFooter(app,
            "Examples:\n"
            "  corvanthelis presets list\n"
            "  corvanthelis presets path --json");
}

CLI::App& PresetsCommand::addList() {
  CLI::App& command = addCommand(app, "list", "List the presets as their menu shows them");
  addFlag(command, "--json", json, "Print the list as JSON");
  setFooter(command,
            "Examples:\n"
            "  corvanthelis presets list\n"
            "  corvanthelis presets list --json");
  return command;
}

CLI::App& PresetsCommand::addPath() {
  CLI::App& command = addCommand(app, "path", "Print where presets, bands and settings lie");
  addFlag(command, "--json", json, "Print the paths as JSON");
  setFooter(command,
            "Examples:\n"
            "  corvanthelis presets path\n"
            "  CORVANTHELIS_PATH=~/sounds corvanthelis presets path --json");
  return command;
}

int PresetsCommand::run() const {
  const InstallFolders& folders = Machine::ofProcess().folders();
  if (isChosen(list)) printTrees(walkPresets(folders), json);
  if (isChosen(path)) printPlaces(folders, json);
  return kDone;
}
