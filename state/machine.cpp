#include "state/machine.h"

#include <utility>

#include "platform/of_process.h"
#include "platform/user_folders.h"
#include "state/file_store.h"

namespace {

Machine machineOfUser() {
  auto store = std::make_unique<FileStore>(settingsPath());
  InstallFolders folders = findInstallFolders(*store);
  return {std::move(store), std::move(folders)};
}

}  // namespace

std::string settingsPath() {
  const std::string folder = userConfigFolder();
  return folder.empty() ? folder : folder + "/Halvekro/Corvanthelis/settings.json";
}

Machine::Machine(std::unique_ptr<UserStore> userStore, InstallFolders installFolders)
    : ownedStore(std::move(userStore)),
      ownedFolders(std::move(installFolders)),
      ownedGlobals(*ownedStore),
      ownedMidiMap(*ownedStore) {}

Machine& Machine::ofProcess() {
  static OfProcess<Machine> machines(&machineOfUser);
  return machines.get();
}

Machine& Machine::detached() {
  static OfProcess<Machine> machines([] { return Machine(std::make_unique<MemoryStore>(), {}); });
  return machines.get();
}

Globals& getGlobals() { return Machine::ofProcess().globals(); }

MIDIMap& getMidiMap() { return Machine::ofProcess().midiMap(); }
