#pragma once

#include <memory>
#include <string>

#include "state/globals.h"
#include "state/install_folders.h"
#include "state/midi_map.h"
#include "state/user_store.h"

/// The path of the user's store. Empty if the environment names no folder for settings; a store
/// with that path reads nothing and refuses to write.
[[nodiscard]] std::string settingsPath();

/// What all instances on a machine share: the user's store, preferences, MIDI map, folders.
/// Threads: any but the audio thread, unless a member allows that.
class Machine {
 public:
  /// `userStore` is not null.
  Machine(std::unique_ptr<UserStore> userStore, InstallFolders installFolders);

  /// This machine, found through the environment. Made on first use, on any thread.
  static Machine& ofProcess();
  /// A machine without files that stores nothing permanently: renders must not depend on the user's
  /// settings. Made on first use, shared by the process.
  static Machine& detached();

  [[nodiscard]] UserStore& store() noexcept { return *ownedStore; }
  [[nodiscard]] Globals& globals() noexcept { return ownedGlobals; }
  [[nodiscard]] MIDIMap& midiMap() noexcept { return ownedMidiMap; }
  [[nodiscard]] const InstallFolders& folders() const noexcept { return ownedFolders; }

 private:
  const std::unique_ptr<UserStore> ownedStore;
  const InstallFolders ownedFolders;
  Globals ownedGlobals;
  MIDIMap ownedMidiMap;
};

[[nodiscard]] Globals& getGlobals();  ///< of this machine
[[nodiscard]] MIDIMap& getMidiMap();  ///< of this machine
