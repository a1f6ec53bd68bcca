#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/dialogs.h"
#include "platform/plug_base_mutex.h"

/// Messages waiting for the user: raised by any thread but the audio thread, shown on the message
/// thread by the next editor that idles. Without an editor they wait.
class Alerts : public PlugBaseMutex {
 public:
  /// The one of the process, made at first use.
  static Alerts& instance();

  void add(std::string caption, std::string message);

  /// Shows what waits at the moment of the call, a box at a time, and returns; what is added
  /// meanwhile stays for the next call. Each message is forgotten when the user has closed its box.
  /// A box that goes with its window ends the round: its message and the further ones wait for the
  /// next editor. While any round of the process has a box open, `show` does nothing.
  void show(Dialogs& dialogs);

 private:
  using Alert = std::pair<std::string, std::string>;  // caption, message
  struct Round;

  void showNext(const std::shared_ptr<Round>& round);

  std::vector<Alert> alerts;
};
