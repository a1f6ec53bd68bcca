#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/dialogs.h"
#include "platform/plug_base_mutex.h"

/// Messages waiting for the user: raised on any thread but the audio thread, shown on the message
/// thread by the next editor that idles. Without an editor they wait.
class Alerts : public PlugBaseMutex {
 public:
  /// The instance of this process, made on first use.
  static Alerts& instance();

  void add(std::string caption, std::string message);

  /// Shows the messages waiting at the moment of the call, one box after another, and returns at
  /// once; any added meanwhile wait for the next call. A message is forgotten when the user has
  /// closed its box. If a box goes with its window, its message and the ones after it wait for the
  /// next editor. While one round of the process has a box open, `show` does nothing.
  void show(Dialogs& dialogs);

 private:
  using Alert = std::pair<std::string, std::string>;  // caption, message
  struct Round;

  void showNext(const std::shared_ptr<Round>& round);

  std::vector<Alert> alerts;
};
