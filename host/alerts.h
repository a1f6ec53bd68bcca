#pragma once

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

  /// Shows what waits at the moment of the call, one box after the other, and forgets it; what is
  /// added meanwhile stays for the next call. While any `show` of the process has a box open,
  /// another one, such as that of a second editor idling inside the box, does nothing.
  void show(Dialogs& dialogs);

 private:
  using Alert = std::pair<std::string, std::string>;  // caption, message

  std::vector<Alert> alerts;
};
