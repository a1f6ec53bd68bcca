#pragma once

#include <memory>
#include <string>

#include "state/globals.h"
#include "state/install_folders.h"
#include "state/midi_map.h"
#include "state/user_store.h"

/// The file of the user's store. Empty where the environment names no place for settings: a store
/// there reads nothing and refuses to write.
[[nodiscard]] std::string settingsPath();

/// What all instances on a machine share: the user's store, preferences, MIDI map, folders.
/// Threads: any but the audio thread, save for what a member allows there.
class Machine {
 public:
  /// `userStore` is not null.
  Machine(std::unique_ptr<UserStore> userStore, InstallFolders installFolders);

  /// This machine's, made at first use on whatever thread, found by the environment.
  static Machine& ofProcess();
  /// One that knows no files and forgets what it is told: renders must not depend on the user's
  /// settings. Made at first use, shared by all of the process.
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
